// What the notification centre costs without a window: a frame of scrolling, and opening it.
//
// A frame moves the list by more than a row, so that each one dequeues, fills and solves a cell or two; beside it stand
// as many cells that are filled and solved without a table. Opening reads the store once, which is its bound.

#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleInbox.h"
#include "Benchmarks/Support/Series.h"
#include "KovaSDK/Push/Central/CentralCoordinator.h"
#include "KovaSDK/Push/Central/Controller/NotificationViewController.h"
#include "KovaSDK/Push/Central/View/NotificationViewCell.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/UIKit/UIWindow.h"

#include <cmath>
#include <memory>
#include <string>

namespace {

using namespace kova;
using namespace kova::benchmarks;

struct Screen {
    std::shared_ptr<UIViewController> host = std::make_shared<UIViewController>();
    UIWindow window {{0, 0, 390, 844}};

    Screen()
    {
        window.setRootViewController(host);
        window.layoutIfNeeded();
    }
    UITableView& open()
    {
        CentralCoordinator {host}.start();
        window.layoutIfNeeded();
        auto* list = dynamic_cast<NotificationViewController*>(window.topViewController());
        require(list != nullptr, "the list is not on the screen");
        return *list->scene->tableView;
    }
};

void measureScrolling(const Effort& effort)
{
    constexpr std::size_t count = 10'000;
    constexpr double step = 130;
    const auto records = sampleInbox(count);
    NotificationStorage::setBuffer(records);
    Screen screen;
    auto& table = screen.open();
    NotificationViewCell cell {UITableViewCellStyle::default_, NotificationViewCell::identifier};
    cell.setFrame({0, 0, 390, 80});

    Series frames;
    Series cells;
    double offset = 0;
    double bareRows = 0;
    constexpr int calls = 50;
    const int rounds = effort.rounds(300);
    for (int round = 0; round < rounds; ++round) {
        frames.measure(calls, [&] {
            offset = std::fmod(offset + step, count * 80.0 - 844);
            table.setContentOffset({.x = 0, .y = offset});
            screen.window.layoutIfNeeded();
        });
        cells.measure(calls, [&] {
            for (bareRows += step / 80; bareRows >= 1; --bareRows) {
                cell.prepareForReuse();
                cell.configure(records[static_cast<std::size_t>(offset / 80) % count]);
                cell.layoutIfNeeded();
            }
        });
    }
    report({.what = "scrolling frame, 10 000 records",
        .unit = "us",
        .value = frames.seconds() * 1e6,
        .bound = cells.seconds() * 1e6,
        .goal = Goal::value(1'000)});
}

void measureOpening(std::size_t count, const Effort& effort)
{
    NotificationStorage::setBuffer(sampleInbox(count));
    Screen screen;
    Series opening;
    Series reading;
    const int rounds = effort.rounds(30);
    for (int round = 0; round < rounds; ++round) {
        reading.measure(1, [&] { require(NotificationStorage::buffer().size() == count, "records are missing"); });
        opening.measure(1, [&] { screen.open(); });
        screen.host->dismiss(false);
        screen.window.layoutIfNeeded();
    }
    report({.what = "opening the centre on " + std::to_string(count) + " records",
        .unit = "ms",
        .value = opening.seconds() * 1e3,
        .bound = reading.seconds() * 1e3});
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    const BenchmarkPlatform platform {0, "http://127.0.0.1:9/v2/"};
    measureScrolling(effort);
    measureOpening(1'000, effort);
    measureOpening(10'000, effort);
    return 0;
}
