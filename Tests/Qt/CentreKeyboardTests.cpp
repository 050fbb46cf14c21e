// The centre without a hand: keys, and what assistive technology is told.

#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Tests/Qt/CentreWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QQuickItem>
#include <map>

namespace kova::tests {

namespace {

const std::map<QAccessible::Role, std::string> names {{QAccessible::AlertMessage, "alert"},
    {QAccessible::Button, "button"}, {QAccessible::Graphic, "picture"}, {QAccessible::Heading, "heading"},
    {QAccessible::List, "list"}, {QAccessible::ListItem, "row"}, {QAccessible::StaticText, "text"},
    {QAccessible::ToolBar, "bar"}};

/// What a screen reader finds, in its order: role, name, and what else is said.
void collect(QAccessibleInterface* item, std::vector<std::string>& lines)
{
    if (!item || item->state().invisible)
        return;
    const auto role = names.find(item->role());
    if (role != names.end() && !item->state().disabled) {
        const auto description = item->text(QAccessible::Description).toStdString();
        lines.push_back(role->second + ": " + item->text(QAccessible::Name).toStdString()
            + (description.empty() ? "" : " (" + description + ")") + (item->state().focused ? " [focus]" : ""));
    }
    for (int index = 0; index < item->childCount(); ++index)
        collect(item->child(index), lines);
}

std::vector<std::string> spoken(CentreWindow& centre)
{
    QAccessible::setActive(true);
    std::vector<std::string> lines;
    collect(QAccessible::queryAccessibleInterface(&centre.window), lines);
    return lines;
}

/// The line of what has the focus.
std::string focused(CentreWindow& centre)
{
    for (const auto& line : spoken(centre)) {
        if (line.ends_with(" [focus]"))
            return line;
    }
    return "nothing";
}

} // namespace

TEST(CentreKeyboardTest, WalksOpensDeletesAndLeaves)
{
    CentreWindow centre;
    centre.open(inboxOf(30));
    centre.key(Qt::Key_Down);
    centre.key(Qt::Key_Down);
    static_cast<void>(centre.look("focus"));
    EXPECT_THAT(spoken(centre), testing::Contains(testing::StartsWith("row: Aviso 1,")).Times(1));
    EXPECT_THAT(spoken(centre),
        testing::Contains(testing::HasSubstr("Aviso 1, Seu pedido 1 saiu para entrega. (não lida) [focus]")));
    centre.key(Qt::Key_Return);
    ASSERT_EQ(centre.stack().viewControllers().size(), 2U);
    EXPECT_TRUE(NotificationStorage::buffer()[1].read);

    // The alert: its first button has the focus on the first Tab, and Escape cancels it.
    for (int tabs = 0; tabs < 2; ++tabs)
        centre.key(Qt::Key_Tab);
    centre.key(Qt::Key_Return);
    ASSERT_TRUE(dynamic_cast<UIAlertController*>(&centre.top()));
    centre.key(Qt::Key_Escape);
    ASSERT_FALSE(dynamic_cast<UIAlertController*>(&centre.top()));
    centre.key(Qt::Key_Escape);
    ASSERT_EQ(centre.stack().viewControllers().size(), 1U);
    EXPECT_THAT(spoken(centre), testing::Contains(testing::HasSubstr("Aviso 1, ")).Times(1));
    EXPECT_THAT(spoken(centre), testing::Contains(testing::HasSubstr("(lida) [focus]"))) << "back at its row";

    centre.key(Qt::Key_Down);
    centre.key(Qt::Key_End);
    EXPECT_EQ(centre.table().indexPathsForVisibleRows().back().row, 29);
    centre.key(Qt::Key_Delete);
    EXPECT_EQ(centre.table().numberOfRows(), 29);
    EXPECT_EQ(NotificationStorage::buffer().back().title, "Aviso 28");
    centre.key(Qt::Key_Up);
    centre.key(Qt::Key_Return);
    EXPECT_TRUE(NotificationStorage::buffer()[27].read);
    centre.key(Qt::Key_Back);
    centre.key(Qt::Key_Back);
    EXPECT_EQ(centre.model().subviews().size(), 1U);
}

TEST(CentreKeyboardTest, MovesByPagesAndFromButtonToButton)
{
    CentreWindow centre;
    centre.open(inboxOf(30));
    const auto rowsOfAPage = static_cast<std::int64_t>(centre.table().indexPathsForVisibleRows().size()) - 2;
    const std::pair<Qt::Key, std::int64_t> moves[] {
        {Qt::Key_Down, 0}, {Qt::Key_PageDown, rowsOfAPage}, {Qt::Key_PageUp, 0}, {Qt::Key_End, 29}, {Qt::Key_Home, 0}};
    for (const auto& [key, row] : moves) {
        centre.key(key);
        EXPECT_THAT(focused(centre), testing::StartsWith("row: Aviso " + std::to_string(row) + ",")) << key;
    }
    EXPECT_EQ(centre.table().contentOffset().y, -centre.table().adjustedContentInset().top);

    centre.key(Qt::Key_Return);
    for (const auto key : {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Return})
        centre.key(key);
    const std::pair<Qt::Key, const char*> steps[] {{Qt::Key_Right, "Apagar"}, {Qt::Key_Right, "Cancelar"},
        {Qt::Key_Left, "Apagar"}, {Qt::Key_Down, "Cancelar"}, {Qt::Key_Backtab, "Apagar"}};
    for (const auto& [key, button] : steps) {
        centre.key(key);
        EXPECT_EQ(focused(centre), "button: " + std::string {button} + " [focus]") << key;
    }
}

TEST(CentreKeyboardTest, FocusComesBackToTheHost)
{
    CentreWindow centre;
    QQuickItem field {centre.window.contentItem()};
    field.forceActiveFocus();
    ASSERT_TRUE(field.hasActiveFocus());
    centre.open(inboxOf(1));
    EXPECT_FALSE(field.hasActiveFocus());
    centre.key(Qt::Key_Escape);
    EXPECT_TRUE(field.hasActiveFocus());
}

TEST(CentreKeyboardTest, ScreenReadersAreToldAllOfIt)
{
    CentreWindow centre;
    auto inbox = sampleInbox();
    inbox.resize(3);
    inbox[1].att = "";
    centre.open(inbox);
    EXPECT_THAT(spoken(centre),
        testing::UnorderedElementsAre("list: Central de Notificações",
            "row: Seu pedido chegou! 🎉, Retire na portaria até às 18h. 📦 (não lida)",
            "row: Promoção de inverno, Casacos, botas e cobertores com preços especiais até domingo, em todas as lojas "
            "e no site. (não lida)",
            "row: Pagamento aprovado, Recebemos o pagamento do pedido 1042. (lida)", "bar: Central de Notificações",
            "heading: Central de Notificações", "button: OK"));

    centre.tapRow(1);
    EXPECT_THAT(spoken(centre),
        testing::IsSupersetOf({"text: Promoção de inverno", "text: Até 40% de desconto", "button: Abrir link",
            "button: Voltar", "button: Apagar"}));
    EXPECT_THAT(spoken(centre), testing::Not(testing::Contains(testing::StartsWith("row:"))));

    centre.tap(*centre.button("Apagar"));
    // Only the alert: what lies beneath is out of reach.
    EXPECT_THAT(spoken(centre),
        testing::UnorderedElementsAre("alert: Aviso (Deseja apagar esta notificação?)", "text: Aviso",
            "text: Deseja apagar esta notificação?", "button: Apagar", "button: Cancelar"));
}

} // namespace kova::tests
