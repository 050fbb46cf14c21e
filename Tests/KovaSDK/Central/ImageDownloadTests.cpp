#include "KovaSDK/Extensions/UIImageView.h"
#include "KovaSDK/Extensions/UIView.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/UIKit/UIActivityIndicatorView.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/ManualClock.h"
#include "Tests/Support/TestPlatform.h"

#include <gtest/gtest.h>

namespace kova {
namespace {

using tests::Gate;
using tests::LoopbackServer;
using tests::ManualClock;
using tests::Reply;
using tests::TestPlatform;
using namespace std::chrono_literals;

class ImageDownloadTest : public testing::Test {
protected:
    // What begins with "PNG" is decoded, to a picture as wide as the rest is long.
    ImageDownloadTest()
        : m_previous(UIImage::setDecoder([](const Data& data) -> std::shared_ptr<const UIImage> {
            if (!data.text().starts_with("PNG"))
                return nullptr;
            const auto width = static_cast<double>(data.size() - 3);
            return std::make_shared<const UIImage>(CGSize {.width = width, .height = 1}, std::make_shared<int>(0));
        }))
    {
    }
    ~ImageDownloadTest() override
    {
        UIImage::setDecoder(std::move(m_previous));
        imageCache().removeAllObjects();
    }

    // Waits for the session and runs what it left on the main queue, until nothing is under way but animations.
    void finish()
    {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!m_platform.platform.settle(1ms)) {
            DispatchQueue::drainMain();
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        }
    }

    void pass(std::chrono::milliseconds time)
    {
        m_clock.advance(time);
        DispatchQueue::drainMain();
    }

    UIImage::Decoder m_previous;
    const TestPlatform m_platform {MainLoop::Host};
    ManualClock m_clock;
    LoopbackServer m_server;
    std::shared_ptr<UIImageView> m_view = std::make_shared<UIImageView>();
};

TEST_F(ImageDownloadTest, OnlyAGoodReplyIsShownAndEachTakesTheOverlayOff)
{
    struct Row {
        const char* name;
        Reply reply;
        bool isShown;
    };
    const auto picture = [](int status, const char* type, const char* body) {
        return Reply::status(status, body, {{"Content-Type", type}});
    };
    const Row rows[] {
        {"good", picture(200, "image/png", "PNG1"), true},
        {"parameters and capitals", picture(200, "Image/PNG; q=1", "PNG22"), true},
        {"any type that begins so", picture(200, "imagery", "PNG333"), true},
        {"another type", picture(200, "text/plain", "PNG1"), false},
        {"no type", Reply::status(200, "PNG1"), false},
        {"created", picture(201, "image/png", "PNG1"), false},
        {"not found", picture(404, "image/png", "PNG1"), false},
        {"cannot be decoded", picture(200, "image/png", "GIF"), false},
        {"nothing", picture(200, "image/png", ""), false},
        {"broken off", Reply::close(), false},
    };
    for (const auto& [name, reply, isShown] : rows) {
        const auto view = std::make_shared<UIImageView>();
        const auto address = m_server.url("/" + std::to_string(&name - &rows[0].name)).absoluteString();
        m_server.enqueue(reply);
        lock(*view);
        downloaded(view, address);
        finish();
        EXPECT_EQ(view->image() != nullptr, isShown) << name;
        EXPECT_EQ(imageCache().object(address) != nullptr, isShown) << name;
        EXPECT_EQ(imageCache().object(address), view->image()) << name;
        EXPECT_TRUE(view->viewWithTag(busyOverlayTag)) << name << ": it fades first";
        pass(200ms);
        EXPECT_FALSE(view->viewWithTag(busyOverlayTag)) << name;
    }
}

TEST_F(ImageDownloadTest, OtherSchemesFailAndWhatIsNoURLDoesNothing)
{
    const std::pair<const char*, bool> rows[] {{"file:///etc/hostname", true}, {"ftp://127.0.0.1/a.png", true},
        {"a.png", true}, {"", false}, {"no url", false}, {"http://[", false}};
    for (const auto& [address, fails] : rows) {
        const auto view = std::make_shared<UIImageView>();
        lock(*view);
        downloaded(view, address);
        finish();
        pass(1s);
        EXPECT_EQ(view->viewWithTag(busyOverlayTag) == nullptr, fails) << address;
        EXPECT_FALSE(view->image()) << address;
    }
}

TEST_F(ImageDownloadTest, AViewThatIsGoneLeavesThePictureInTheCache)
{
    const auto gate = std::make_shared<Gate>();
    m_server.enqueue(Reply::status(200, "PNG1", {{"Content-Type", "image/png"}}).held(gate));
    const auto address = m_server.url("/late.png").absoluteString();
    lock(*m_view);
    downloaded(m_view, address);
    ASSERT_TRUE(m_server.waitForRequests(1));
    const std::weak_ptr view = m_view;
    m_view.reset();
    EXPECT_TRUE(view.expired()) << "a download does not keep its view";
    gate->open();
    finish();
    EXPECT_TRUE(imageCache().object(address));
}

TEST_F(ImageDownloadTest, TheOverlayIsPutOnOnceAndItsWheelTurnsWhenItHasFadedIn)
{
    m_view->setFrame({0, 0, 40, 60});
    lock(*m_view);
    lock(*m_view);
    ASSERT_EQ(m_view->subviews().size(), 1U);
    m_view->layoutIfNeeded();
    const auto& overlay = *m_view->subviews().front();
    EXPECT_EQ(overlay.frame(), (CGRect {0, 0, 40, 60}));
    EXPECT_EQ(overlay.backgroundColor(), UIColor::withWhite(0, 0.4));
    EXPECT_EQ(overlay.alpha(), 1);
    const auto* wheel = dynamic_cast<UIActivityIndicatorView*>(overlay.subviews().front().get());
    ASSERT_TRUE(wheel);
    EXPECT_EQ(wheel->frame(), (CGRect {1.5, 11.5, 37, 37}));

    pass(299ms);
    EXPECT_FALSE(wheel->isAnimating());
    pass(1ms);
    EXPECT_TRUE(wheel->isAnimating());

    unlock(*m_view);
    EXPECT_EQ(overlay.alpha(), 0);
    unlock(*m_view);
    pass(200ms);
    EXPECT_TRUE(m_view->subviews().empty());
    unlock(*m_view);

    // An overlay whose view went in the meantime.
    lock(*m_view);
    unlock(*m_view);
    m_view.reset();
    pass(1s);
}

} // namespace
} // namespace kova
