// Links where Qt WebEngine shows their pages, in the centre: what they may lead to.

#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UILabel.h"
#include "Tests/Qt/CentreWindow.h"
#include "Tests/Qt/DesktopRecorder.h"
#include "Tests/Support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <QQuickItem>
#include <algorithm>

namespace kova::tests {

namespace {

QQuickItem* webView(QQuickItem& item)
{
    if (item.inherits("QQuickWebEngineView"))
        return &item;
    for (auto* child : item.childItems()) {
        if (auto* found = webView(*child))
            return found;
    }
    return nullptr;
}

/// A page of one link, in a shade of green by which it is known. It may tell the server a moment after the link has
/// been followed to nowhere.
Reply pageWith(const std::string& link, int shade, bool tells = false)
{
    const std::string telling = tells ? " onclick=\"setTimeout(() => fetch('/followed'), 200)\"" : "";
    return Reply::status(200,
        "<!doctype html><link rel=icon href='data:,'><body style='margin:0;background:rgb(0,128,"
            + std::to_string(shade) + ")'><a " + link + telling + " style='position:fixed;inset:0'></a>",
        {{"Content-Type", "text/html"}});
}

std::int64_t countOf(const LoopbackServer& server, const std::string& target)
{
    return std::ranges::count(server.requests(), target, &RecordedRequest::target);
}

/// The centre with the page of its one record's link open.
class WebPageTest : public testing::Test {
protected:
    void openLink(const std::string& address)
    {
        auto inbox = inboxOf(1);
        inbox[0].launchURL = address;
        centre.open(inbox);
        centre.tapRow(0);
        auto* button = centre.button("Abrir link");
        ASSERT_TRUE(button);
        centre.tap(*button);
        view = webView(*centre.window.contentItem());
    }

    [[nodiscard]] std::string shownAddress() const
    {
        const auto* label = find<UILabel>(*centre.top().view()->subviews().back()->subviews().back());
        return label && label->text() ? *label->text() : "";
    }

    [[nodiscard]] bool hasLoaded(const std::string& target, int shade)
    {
        return eventually([&] {
            return view->property("url").toUrl().path().toStdString() == target && !view->property("loading").toBool()
                && CentreWindow::colorAt(centre.look("page"), {195, 400}) == QColor(0, 128, shade);
        });
    }

    /// A page whose link has led on to another one.
    void openAndFollow()
    {
        server.setDefault(pageWith("href='/other'", 0));
        openLink(server.url("/start").absoluteString());
        ASSERT_TRUE(view);
        ASSERT_TRUE(hasLoaded("/start", 0));
        centre.tap({195, 400});
        ASSERT_TRUE(hasLoaded("/other", 0));
    }

    LoopbackServer server;
    DesktopRecorder desktop;
    CentreWindow centre;
    QQuickItem* view = nullptr;
};

} // namespace

TEST_F(WebPageTest, ShowsThePageOnce)
{
    ASSERT_NO_FATAL_FAILURE(openAndFollow());
    EXPECT_EQ(shownAddress(), server.url("/other").absoluteString()) << "the bar tells where the user is";
    // Whatever changes in how the centre looks, the user stays where the page has led.
    centre.key(Qt::Key_Tab);
    centre.window.resize(600, 700);
    ASSERT_TRUE(centre.settle());
    ASSERT_TRUE(hasLoaded("/other", 0));
    EXPECT_EQ(countOf(server, "/start"), 1);
    EXPECT_EQ(countOf(server, "/other"), 1);
    EXPECT_TRUE(desktop.opened.empty());
    centre.tap(*centre.button("OK"));
    EXPECT_EQ(centre.stack().viewControllers().size(), 2U);
    EXPECT_FALSE(webView(*centre.window.contentItem()));
}

TEST_F(WebPageTest, IsLeftByTheKeysFromWithin)
{
    ASSERT_NO_FATAL_FAILURE(openAndFollow());
    ASSERT_TRUE(view->hasActiveFocus()) << "the page has the keyboard";
    centre.key(Qt::Key_Escape);
    EXPECT_TRUE(eventually([&] { return !dynamic_cast<SFSafariViewController*>(&centre.top()); }));
}

TEST_F(WebPageTest, LeadsNowhereButToTheWeb)
{
    struct Case {
        const char* link;
        /// Where the server sends who follows the link to "/redirect".
        const char* redirect;
        const char* remainsAt;
    };
    const Case cases[] {
        {"href='/other'", nullptr, "/other"},
        {"href='/other' target=_blank", nullptr, "/other"},
        {"href='/redirect'", "/other", "/other"},
        {"href='file:///etc/hostname'", nullptr, "/start"},
        {"href='file:///etc/hostname' target=_blank", nullptr, "/start"},
        {"href='mailto:ana@loja.example'", nullptr, "/start"},
        {"href='mailto:ana@loja.example' target=_blank", nullptr, "/start"},
        {"href='kova-test:anything'", nullptr, "/start"},
        {"href='data:text/html,elsewhere'", nullptr, "/start"},
        {"href='chrome://version'", nullptr, "/start"},
        {"href='view-source:http://127.0.0.1/'", nullptr, "/start"},
        {"href='ftp://127.0.0.1/'", nullptr, "/start"},
        {"href=\"javascript:location='kova-test:anything'\"", nullptr, "/start"},
        {"href='/redirect'", "mailto:ana@loja.example", "/start"},
        {"href='/redirect'", "kova-test:anything", "/start"},
        {"href='/other'", nullptr, "/other"},
    };
    int shade = 0;
    openLink(server.url("/start").absoluteString());
    ASSERT_TRUE(view);
    for (const auto& test : cases) {
        SCOPED_TRACE(std::string {test.link} + (test.redirect ? std::string {" to "} + test.redirect : ""));
        const bool isFollowed = std::string {"/start"} != test.remainsAt;
        server.setDefault(pageWith(test.link, ++shade, !isFollowed && !test.redirect));
        view->setProperty("url", QUrl {QString::fromStdString(server.url("/start").absoluteString())});
        ASSERT_TRUE(hasLoaded("/start", shade));
        if (test.redirect)
            server.enqueue(Reply::status(302, "", {{"Location", test.redirect}}));
        const auto redirects = countOf(server, "/redirect");
        const auto followed = countOf(server, "/followed");
        centre.tap({195, 400});
        if (!isFollowed) {
            ASSERT_TRUE(eventually([&] {
                return test.redirect ? countOf(server, "/redirect") > redirects
                                     : countOf(server, "/followed") > followed;
            }));
        }
        EXPECT_TRUE(hasLoaded(test.remainsAt, shade)) << view->property("url").toString().toStdString();
    }
    EXPECT_TRUE(desktop.opened.empty());
}

} // namespace kova::tests
