// What the drawn notification centre costs: its first frame, its frames while a long list is thrown, its memory.
//
// Beside it stands an empty Qt Quick window of the same size in the same process, shown just before. Offscreen and with
// the software renderer, so that no graphics card hides what the centre does; frames are drawn as fast as they can be,
// and one that took longer than a 60 Hz screen gives it counts as dropped.

#include "Benchmarks/Support/BenchmarkPlatform.h"
#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/SampleInbox.h"
#include "Benchmarks/Support/Series.h"
#include "KovaSDK/Push/Central/CentralCoordinator.h"
#include "KovaSDK/Push/Central/Controller/NotificationViewController.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Qt/QtPlatform.h"
#include "Platform/Qt/QtScreen.h"
#include "Platform/UIKit/UIWindow.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QPropertyAnimation>
#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace kova;
using namespace kova::benchmarks;

constexpr double frameSeconds = 1.0 / 60;

double residentMiB()
{
    std::size_t pages = 0;
    std::size_t resident = 0;
    std::ifstream {"/proc/self/statm"} >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

std::unique_ptr<QQuickWindow> makeWindow()
{
    auto window = std::make_unique<QQuickWindow>();
    window->resize(390, 844);
    return window;
}

void show(QQuickWindow& window)
{
    window.show();
    for (int turns = 0; turns < 1000 && !window.isExposed(); ++turns)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    require(window.isExposed(), "the window is not shown");
}

/// Draws one frame, whole.
void draw(QQuickWindow& window)
{
    require(!window.grabWindow().isNull(), "nothing was drawn");
}

/// Brings everything that moves to where it is going.
void finishAnimations(const QQuickItem& item)
{
    for (auto* animation : item.findChildren<QPropertyAnimation*>(Qt::FindDirectChildrenOnly))
        animation->setCurrentTime(animation->totalDuration());
    for (const auto* child : item.childItems())
        finishAnimations(*child);
}

/// The centre slides in from beneath the window, so its first frame shows nothing of it: it is the one that shows all
/// of it that counts.
void drawAll(QQuickWindow& window)
{
    draw(window);
    finishAnimations(*window.contentItem());
    draw(window);
}

UITableView& openIn(QtScreen& screen)
{
    CentralCoordinator {screen.presenter()}.start();
    auto* list = dynamic_cast<NotificationViewController*>(screen.presenter()->view()->window()->topViewController());
    require(list != nullptr, "the list is not on the screen");
    return *list->scene->tableView;
}

void measureFirstFrame(std::size_t count, const Effort& effort)
{
    NotificationStorage::setBuffer(sampleInbox(count));
    Series empty;
    Series centre;
    const int rounds = effort.rounds(30);
    for (int round = 0; round < rounds; ++round) {
        empty.measure([] {
            const auto window = makeWindow();
            show(*window);
            draw(*window);
        });
        const auto window = makeWindow();
        show(*window);
        draw(*window);
        QtScreen screen {*window->contentItem()};
        centre.measure([&] {
            openIn(screen);
            drawAll(*window);
        });
    }
    report({.what = "first whole frame of the centre, " + std::to_string(count) + " records",
        .unit = "ms",
        .value = centre.seconds() * 1e3,
        .bound = empty.seconds() * 1e3});
}

/// A throw as a finger makes it: fast at first, then slower and slower, and the next one.
void measureFrames(const Effort& effort)
{
    constexpr std::size_t count = 10'000;
    constexpr int framesOfAThrow = 90;
    constexpr double fastest = 160;
    NotificationStorage::setBuffer(sampleInbox(count));
    const auto bare = makeWindow();
    show(*bare);
    draw(*bare);
    const auto window = makeWindow();
    show(*window);
    QtScreen screen {*window->contentItem()};
    auto& table = openIn(screen);
    drawAll(*window);

    Series frames;
    Series empty;
    int dropped = 0;
    double offset = 0;
    const int throws = effort.rounds(30);
    for (int number = 0; number < throws; ++number) {
        for (int frame = 0; frame < framesOfAThrow; ++frame) {
            empty.measure([&] { draw(*bare); });
            offset += fastest * std::exp(-3.0 * frame / framesOfAThrow);
            const auto begin = std::chrono::steady_clock::now();
            table.setContentOffset({.x = 0, .y = offset});
            draw(*window);
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
            frames.add(time, 1);
            dropped += time.count() > frameSeconds ? 1 : 0;
        }
    }
    require(table.indexPathsForVisibleRows().front().row > 100, "the list did not move");
    report({.what = "frame while throwing, 10 000 records, p50",
        .unit = "ms",
        .value = frames.seconds() * 1e3,
        .bound = empty.seconds() * 1e3});
    report({.what = "frame while throwing, 10 000 records, p99",
        .unit = "ms",
        .value = frames.quantile(0.99) * 1e3,
        .bound = empty.quantile(0.99) * 1e3});
    note(std::to_string(dropped) + " of " + std::to_string(throws * framesOfAThrow) + " frames took longer than "
        + shown(frameSeconds * 1e3) + " ms");
}

std::string repeated(const std::string& part, std::size_t bytes)
{
    std::string text;
    while (text.size() < bytes)
        text += part;
    return text;
}

/// More different emoji than a window shows.
std::string differentEmoji()
{
    QString text;
    for (char32_t emoji = 0x1F300; emoji < 0x1F700; ++emoji)
        text += QString::fromUcs4(&emoji, 1);
    return text.toStdString();
}

/// The longest time that the window stands still while a list of records with these texts comes onto the screen, or
/// while one of them is read.
double longestFrame(const std::string& text, std::size_t count)
{
    auto inbox = sampleInbox(count);
    for (auto& record : inbox)
        record.title = record.subtitle = record.body = record.title.value_or("") + text;
    NotificationStorage::setBuffer(inbox);
    const auto window = makeWindow();
    show(*window);
    draw(*window);
    QtScreen screen {*window->contentItem()};
    double longest = 0;
    const auto measure = [&](const auto& work) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        longest = std::max(longest, time.count());
        finishAnimations(*window->contentItem());
    };
    // Emoji may come a few at a time.
    const auto settle = [&] {
        for (int frame = 0; frame < 4; ++frame) {
            measure([&] {
                QCoreApplication::processEvents();
                draw(*window);
            });
        }
    };
    UITableView* table = nullptr;
    measure([&] {
        table = &openIn(screen);
        draw(*window);
    });
    settle();
    if (count > 1)
        return longest;
    measure([&] {
        table->userSelectsRow({.row = 0});
        draw(*window);
    });
    settle();
    return longest;
}

/// Texts of every field, up to as long as a push can carry them, in scripts and pieces that are laid out in different
/// ways.
void measureBigTexts(std::size_t bytes)
{
    const std::pair<const char*, std::string> parts[] {
        {"words", "palavra "},
        {"no blanks", "palavra"},
        {"emoji", "\U0001f600"},
        {"joined emoji", "\U0001f468\u200d\U0001f469\u200d\U0001f467\u200d\U0001f466"},
        {"flags", "\U0001f1e7\U0001f1f7\U0001f1f5\U0001f1f9"},
        {"skin tones", "\U0001f44d\U0001f3fd\U0001f44b\U0001f3ff"},
        {"keycaps", "1\ufe0f\u20e3"},
        {"tag flags", "\U0001f3f4\U000e0067\U000e0062\U000e0065\U000e006e\U000e0067\U000e007f"},
        {"pictographs", "\U0001f680\U0001f389"},
        {"few emoji", "\U0001f1e7\U0001f1f7\U0001f680\U0001f389\U0001f680 " + repeated("palavra ", 1024)},
        {"different emoji", differentEmoji()},
        {"letters with marks", "e\u0301\u0323"},
        {"CJK", "\u6f22\u5b57"},
        {"Arabic", "\u0627\u0644\u0633\u0644\u0627\u0645 "},
        {"mixed",
            "Ol\u00e1 \U0001f468\u200d\U0001f469\u200d\U0001f467\u200d\U0001f466 \u05e9\u05dc\u05d5\u05dd "
            "\U0001f44d\U0001f3fd "},
        {"combining marks", "\u0301"},
        {"joiners", "\u200d"},
        {"right to left", "\u05e9\u05dc\u05d5\u05dd "},
        {"line ends", "\n"},
    };
    const double bound = std::max(longestFrame("Aviso", 10), longestFrame("Aviso", 1));
    for (const auto& [name, part] : parts) {
        const auto text = repeated(part, bytes);
        const double longest = std::max(longestFrame(text, 10), longestFrame(text, 1));
        report({.what = "longest frame, texts of " + std::to_string(bytes / 1024) + " KiB: " + name,
            .unit = "ms",
            .value = longest * 1e3,
            .bound = bound * 1e3});
    }
}

void measureMemory(double emptyMiB)
{
    const auto window = makeWindow();
    show(*window);
    QtScreen screen {*window->contentItem()};
    openIn(screen);
    drawAll(*window);
    require(window->grabWindow().pixelColor(317, 164) == QColor {Qt::blue}, "the list is not seen");
    report({.what = "resident with the centre open", .unit = "MiB", .value = residentMiB(), .bound = emptyMiB});
}

} // namespace

int main(int argumentCount, char** arguments)
{
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::setenv("QT_QUICK_BACKEND", "software", 1);
    const Effort effort {argumentCount, arguments};
    int noArguments = 1;
    const QGuiApplication application {noArguments, arguments};
    const BenchmarkPlatform platform {0, "http://127.0.0.1:9/v2/", MainLoop::Host};
    const QtPlatform qt;
    NotificationStorage::setBuffer(sampleInbox(10));
    double emptyMiB = 0;
    {
        const auto window = makeWindow();
        show(*window);
        draw(*window);
        emptyMiB = residentMiB();
    }
    // First, while the process has held nothing larger.
    measureMemory(emptyMiB);
    measureFirstFrame(10, effort);
    measureFirstFrame(10'000, effort);
    measureFrames(effort);
    measureBigTexts(1024);
    measureBigTexts(256UL * 1024);
    return 0;
}
