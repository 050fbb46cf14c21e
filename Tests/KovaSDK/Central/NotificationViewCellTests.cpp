#include "KovaSDK/Extensions/UIImageView.h"
#include "KovaSDK/Extensions/UIView.h"
#include "Tests/KovaSDK/Central/CentreFixture.h"

#include <gtest/gtest.h>

namespace kova {
namespace {

using tests::record;
using tests::TestPlatform;

// What a row looks like, as far as records change it.
struct Look {
    std::string body;
    bool isBold = true;
    bool hasMarker = true;
    bool hasThumbnail = true;

    friend bool operator==(const Look&, const Look&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Look& look)
    {
        return stream << look.body << (look.isBold ? " bold" : " regular") << (look.hasMarker ? " marker" : "")
                      << (look.hasThumbnail ? " thumbnail" : "");
    }
};

Look look(const NotificationViewCell& cell)
{
    const bool isBold = cell.body->font() == UIFont::boldSystemFont(14);
    EXPECT_EQ(cell.body->font().pointSize, 14);
    EXPECT_EQ(cell.body->textColor(), isBold ? UIColor::blackColor() : UIColor::lightGrayColor());
    return {cell.body->text().value_or("nil"), isBold, !cell.unreadView->isHidden(), !cell.img->isHidden()};
}

KovaNotification pictured(const char* title, bool read)
{
    auto notification = record(title, read);
    notification.att = "https://example.com/cached.png";
    return notification;
}

class NotificationViewCellTest : public testing::Test {
protected:
    NotificationViewCellTest() { imageCache().setObject(m_picture, "https://example.com/cached.png"); }
    ~NotificationViewCellTest() override { imageCache().removeAllObjects(); }

    const std::shared_ptr<const UIImage> m_picture
        = std::make_shared<const UIImage>(CGSize {.width = 10, .height = 10}, std::make_shared<int>(0));
    NotificationViewCell m_cell {UITableViewCellStyle::default_, NotificationViewCell::identifier};
};

TEST_F(NotificationViewCellTest, AFreshOneHasPlaceholdersAndTheUnreadLook)
{
    EXPECT_EQ(m_cell.title->text(), "title");
    EXPECT_EQ(m_cell.title->font(), UIFont::boldSystemFont(16));
    EXPECT_EQ(look(m_cell), (Look {"body"}));
    EXPECT_EQ(m_cell.unreadView->backgroundColor(), UIColor::blueColor());
    EXPECT_EQ(m_cell.unreadView->layer().cornerRadius(), 7.5);
    EXPECT_EQ(m_cell.img->contentMode(), UIViewContentMode::scaleAspectFit);
    EXPECT_TRUE(m_cell.img->clipsToBounds());
    EXPECT_EQ(m_cell.img->layer().cornerRadius(), 3);
    EXPECT_EQ(m_cell.subviews().size(), 4U);
}

// What stays from the record before is contract.
TEST_F(NotificationViewCellTest, ReuseBringsBackTheMarkerAndNothingElse)
{
    m_cell.configure(record("read, no picture", true));
    EXPECT_EQ(look(m_cell), (Look {"body of read, no picture", false, false, false}));

    m_cell.prepareForReuse();
    EXPECT_EQ(look(m_cell), (Look {"body of read, no picture", false, true, false}));
    ASSERT_TRUE(m_cell.img->image());
    EXPECT_FALSE(m_cell.img->image()->pixels());

    m_cell.configure(pictured("unread", false));
    EXPECT_EQ(look(m_cell), (Look {"body of unread", false, true, false}));
    EXPECT_EQ(m_cell.img->image(), m_picture) << "it is set, and hidden";

    auto empty = record("", false);
    empty.title.reset();
    empty.body.reset();
    m_cell.configure(empty);
    EXPECT_EQ(m_cell.title->text(), std::nullopt);
    EXPECT_EQ(look(m_cell).body, "nil");
}

TEST_F(NotificationViewCellTest, ACachedPictureIsShownAtOnceAnotherIsAwaited)
{
    const TestPlatform platform {MainLoop::Host};
    m_cell.configure(pictured("a", false));
    EXPECT_EQ(m_cell.img->image(), m_picture);
    EXPECT_FALSE(m_cell.img->viewWithTag(busyOverlayTag));

    auto missing = record("b");
    missing.att = "http://127.0.0.1:9/missing.png";
    m_cell.configure(missing);
    EXPECT_TRUE(m_cell.img->viewWithTag(busyOverlayTag));
    EXPECT_EQ(m_cell.img->image(), m_picture) << "the one before stays until another comes";

    auto unnamed = record("c");
    unnamed.att = "";
    m_cell.configure(unnamed);
    EXPECT_TRUE(m_cell.img->isHidden());
}

} // namespace
} // namespace kova
