#include "Host/HostScreen.h"

#include "KovaSDK/Push/PushServices/NotificationStorage.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace kova::host {

namespace {

struct Product {
    const char* name;
    const char* price;
    const char* line;
};

constexpr std::array products {
    Product {"Pão francês", "R$ 0,90",
        R"({"do":"event","kind":"CartEvent","type":"cart_add_product","text":"pão francês","attributes":{"seção":"pães"},"metrics":{"price":0.9}})"},
    Product {"Bolo de rolo", "R$ 38,00",
        R"({"do":"event","kind":"CartEvent","type":"cart_add_product","text":"bolo de rolo","attributes":{"seção":"doces"},"metrics":{"price":38}})"},
    Product {"Café coado ☕️", "R$ 6,50",
        R"({"do":"event","kind":"CartEvent","type":"cart_add_product","text":"café coado","attributes":{"seção":"café"},"metrics":{"price":6.5}})"},
};

struct Action {
    const char* title;
    const char* line;
};

constexpr std::array actions {
    Action {"Finalizar", R"({"do":"event","kind":"CartEvent","type":"cart_checkout","text":"pedido","record":true})"},
    Action {"Página", R"({"do":"event","kind":"PageEvent","type":"page_view","text":"Padaria"})"},
    Action {"Permitir", R"({"do":"prompt","accepted":true})"},
    Action {"Cidade", R"({"do":"tag","key":"city","value":"Recife"})"},
    Action {"Wi-Fi", R"({"do":"network","status":"wifi"})"},
    Action {"Celular", R"({"do":"network","status":"wwan"})"},
    Action {"Offline", R"({"do":"network","status":"offline"})"},
    Action {"Aparelho", R"({"do":"player-id"})"},
    Action {"Tema", R"({"do":"restyle","property":"unreadMarkerColor","rgba":[0.05,0.42,0.4,1]})"},
    Action {"Assinar", R"({"do":"subscribe","userId":"6f1c2a9e-player"})"},
    Action {"Chegar", R"({"do":"geotriggers","geotriggers":[{"data":"{\"loja\": \"Boa Viagem\"}"}]})"},
};

constexpr std::size_t actionsPerRow = 4;

constexpr std::size_t lineOf(std::size_t action)
{
    return action / actionsPerRow;
}

constexpr UIColor brand {.red = 0.05, .green = 0.42, .blue = 0.40, .alpha = 1};
constexpr UIColor faint {.red = 0.91, .green = 0.95, .blue = 0.94, .alpha = 1};
constexpr UIColor night {.red = 0.09, .green = 0.12, .blue = 0.13, .alpha = 1};
constexpr UIColor mint {.red = 0.65, .green = 0.93, .blue = 0.83, .alpha = 1};

std::shared_ptr<UILabel> makeLabel(const std::string& text, UIFont font, UIColor color)
{
    auto label = std::make_shared<UILabel>();
    label->setText(text);
    label->setFont(font);
    label->setTextColor(color);
    return label;
}

void roundOff(UIButton& button, UIColor background, UIColor title)
{
    button.setBackgroundColor(background);
    button.setTitleColor(title, UIControlState::normal);
    button.titleLabel().setFont(UIFont::boldSystemFont(14));
    button.layer().setCornerRadius(8);
}

std::string contents(const std::filesystem::path& file)
{
    std::ifstream stream {file, std::ios::binary};
    return {std::istreambuf_iterator<char> {stream}, {}};
}

std::vector<std::filesystem::path> payloadFiles(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator {folder, error}) {
        if (entry.path().extension() == ".json")
            files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

} // namespace

// The view: everything from the top down, the log taking what is left.
class HostScreen::Shop : public UIView {
public:
    struct Row {
        std::shared_ptr<UILabel> name;
        std::shared_ptr<UILabel> price;
        std::shared_ptr<UIButton> buy;
    };

    std::shared_ptr<UIButton> central;
    std::vector<Row> rows;
    std::vector<std::shared_ptr<UIButton>> chips;
    std::shared_ptr<UILabel> trayTitle = makeLabel("Pushes de exemplo", UIFont::boldSystemFont(13), brand);
    std::shared_ptr<UITableView> tray;
    std::shared_ptr<UITableView> log;

    void build()
    {
        setBackgroundColor(UIColor::whiteColor());
        addSubview(central);
        for (const auto& row : rows) {
            addSubview(row.name);
            addSubview(row.price);
            addSubview(row.buy);
        }
        for (const auto& chip : chips)
            addSubview(chip);
        addSubview(trayTitle);
        addSubview(tray);
        addSubview(log);
    }

protected:
    void layoutSubviews() override
    {
        constexpr double margin = 16;
        constexpr double gap = 8;
        const auto width = bounds().size.width;
        const auto inner = std::max(0.0, width - 2 * margin);
        double top = margin;
        central->setFrame({margin, top, 150, 36});
        top += 36 + margin;
        for (const auto& row : rows) {
            row.name->setFrame({margin, top, std::max(0.0, inner - 110), 20});
            row.price->setFrame({margin, top + 21, std::max(0.0, inner - 110), 16});
            row.buy->setFrame({margin + std::max(0.0, inner - 100), top + 2, 100, 34});
            top += 48;
        }
        const auto chipWidth = std::max(0.0, (inner - (actionsPerRow - 1) * gap) / actionsPerRow);
        for (std::size_t index = 0; index < chips.size(); ++index) {
            const auto column = static_cast<double>(index % actionsPerRow);
            const auto line = static_cast<double>(lineOf(index));
            chips[index]->setFrame({margin + column * (chipWidth + gap), top + line * (34 + gap), chipWidth, 34});
        }
        top += static_cast<double>(lineOf(chips.size() - 1) + 1) * (34 + gap) + gap;
        trayTitle->setFrame({margin, top, inner, 18});
        top += 22;
        const auto rest = std::max(0.0, bounds().size.height - top);
        tray->setFrame({0, top, width, rest * 0.4});
        // Who saw the end of the log goes on seeing it.
        const auto end = [this] { return log->clampedOffset({.x = 0, .y = log->contentSize().height}); };
        const bool wasAtEnd = log->contentOffset().y >= end().y;
        log->setFrame({0, top + rest * 0.4, width, rest * 0.6});
        log->layoutIfNeeded();
        if (wasAtEnd)
            log->setContentOffset(end());
    }
};

HostScreen::HostScreen(const std::filesystem::path& payloads)
    : m_bell(std::make_shared<UIBarButtonItem>("🔔", this, [this] { openCentre(); }))
    // In the place where the shop's layout leaves it, so that a badge stands right before the first layout, too.
    , m_button(std::make_shared<CentralButton>(CGRect {16, 16, 150, 36}))
    , m_payloads(payloadFiles(payloads))
    , m_tray(std::make_shared<TextList>(
          TextList::Style {.font = UIFont::systemFont(14), .color = brand, .background = faint, .rowHeight = 34}))
    , m_log(std::make_shared<TextList>(
          TextList::Style {.font = UIFont::systemFont(11), .color = mint, .background = night, .rowHeight = 17}))
{
    setTitle("Padaria Kova");
    setEdgesForExtendedLayout(UIRectEdge::none);
    navigationItem().setRightBarButtonItem(m_bell);
    m_button->setTitle("Notificações", UIControlState::normal);
    roundOff(*m_button, brand, UIColor::whiteColor());
    m_button->addTarget(this, [this] { openCentre(); }, UIControlEvents::touchUpInside);
}

void HostScreen::loadView()
{
    const auto shop = std::make_shared<Shop>();
    shop->central = m_button;
    shop->rows.reserve(products.size());
    for (const auto& product : products) {
        auto buy = makeButton("Comprar", product.line);
        roundOff(*buy, brand, UIColor::whiteColor());
        buy->setAccessibilityLabel(std::string {"Comprar "} + product.name);
        shop->rows.push_back({
            .name = makeLabel(product.name, UIFont::boldSystemFont(16), UIColor::blackColor()),
            .price = makeLabel(product.price, UIFont::systemFont(13), UIColor::withWhite(0.4, 1)),
            .buy = std::move(buy),
        });
    }
    shop->chips.reserve(actions.size());
    for (const auto& action : actions) {
        shop->chips.push_back(makeButton(action.title, action.line));
        roundOff(*shop->chips.back(), faint, brand);
        // Four of them in a row also fit into 320 points.
        shop->chips.back()->titleLabel().setFont(UIFont::boldSystemFont(13));
    }
    shop->tray = m_tray->table();
    shop->log = m_log->table();
    shop->build();
    setView(shop);
}

void HostScreen::viewDidLoad()
{
    std::vector<std::string> names;
    names.reserve(m_payloads.size());
    for (const auto& file : m_payloads)
        names.push_back(file.stem().string());
    m_tray->setTexts(std::move(names));
    m_tray->selected = [this](std::size_t row) {
        const auto payload = contents(m_payloads.at(row));
        perform(R"({"do":"extension","payload":)" + payload + "}");
        perform(R"({"do":"extension","expired":true,"payload":)" + payload + "}");
        perform(R"({"do":"push","payload":)" + payload + "}");
    };
}

std::shared_ptr<UIButton> HostScreen::makeButton(const std::string& title, std::string line)
{
    auto button = std::make_shared<UIButton>();
    button->setTitle(title, UIControlState::normal);
    button->addTarget(this, [this, line = std::move(line)] { perform(line); }, UIControlEvents::touchUpInside);
    return button;
}

void HostScreen::perform(const std::string& line)
{
    if (m_performer)
        m_performer(line);
}

void HostScreen::openCentre()
{
    CentralCoordinator {shared_from_this()}.start();
}

void HostScreen::keepBadges()
{
    m_keepsBadges = true;
    NotificationCenter::default_().addObserver(
        shared_from_this(), [this](const Notification&) { refreshBadges(); },
        NotificationName::didReceivedNotification);
    refreshBadges();
}

void HostScreen::presentationDidEnd()
{
    if (m_keepsBadges)
        refreshBadges();
}

void HostScreen::refreshBadges()
{
    const auto unread = NotificationStorage::totalUnreadNotifications();
    removeBadge(*m_bell);
    addBadgeCounter(*m_bell);
    m_button->setBadge(unread > 0 ? std::optional {std::to_string(unread)} : std::nullopt);
}

} // namespace kova::host
