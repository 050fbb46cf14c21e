// The store after a power cut at any moment: never damaged, and nothing is missing that was checkpointed.
//
// KOVA_TEST_POWER_CUTS says how many cuts are tried in each test.

#include "Platform/Libraries/StoreTables.h"
#include "Tests/Support/RecordingDisk.h"
#include "Tests/Support/StoreFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <thread>

namespace kova::tests {
namespace {

/// From a position of the record on, so many steps were acknowledged, or on the disk.
using Marks = std::map<std::size_t, int>;

struct UserDefaultsPowerCutTest : testing::Test {
    StoreFolder folder;
    std::mt19937 random {std::random_device {}()};

    // Each step writes two keys, one after the other: a list that grows at the end and shrinks at the front, and a text
    // of a length that makes pages overflow.
    static void write(UserDefaultsSQLite& store, int step)
    {
        store.setObject("list", listAfter(step));
        store.setObject("text", textAfter(step));
    }
    static Value listAfter(int step) { return bodies(1 + step / 3, step); }
    static Value textAfter(int step) { return std::string(static_cast<std::size_t>(step * 37 % 6'000), 'x'); }

    static std::size_t cuts()
    {
        const auto* text = std::getenv("KOVA_TEST_POWER_CUTS");
        return text ? std::strtoul(text, nullptr, 10) : 250;
    }

    static int stepAt(const Marks& marks, std::size_t position)
    {
        const auto after = marks.upper_bound(position);
        return after == marks.begin() ? 0 : std::prev(after)->second;
    }

    // Opens what a cut has left; which step it shows. The files go back to what they were, for all the disk cares.
    static int stepLeftIn(const std::filesystem::path& left)
    {
        const auto file = left / "defaults.sqlite";
        const auto timeout = std::make_shared<BusyTimeout>(std::chrono::seconds {5});
        StoreTables values {file, timeout};
        values.leaveLogBehind();
        const auto list = values.read("list");
        const auto text = values.read("text");
        const int step = list ? elementNumber(*list) : 0;
        EXPECT_EQ(list.value_or(Value::Array {}), listAfter(step));
        EXPECT_TRUE(text == textAfter(step) || (step > 1 && text == textAfter(step - 1)) || (!text && step <= 1))
            << "step " << step;
        SQLiteDatabase database {file, timeout};
        auto statement = database.prepare("PRAGMA integrity_check");
        EXPECT_TRUE(statement.step());
        EXPECT_EQ(statement.bytes(0), "ok");
        return step;
    }

    static int elementNumber(const Value& list)
    {
        const auto& array = *list.as<Value::Array>();
        const auto text = std::string {array[array.size() - 1].as<Data>()->text()};
        return std::stoi(text.substr(text.find(' ')));
    }

    // Cuts the power at random moments; `atLeast` says which step must be there after a cut at a position.
    template <typename AtLeast> void cutOften(const RecordingDisk& disk, const Marks& acknowledged, AtLeast atLeast)
    {
        std::vector<std::size_t> positions(cuts());
        std::ranges::generate(positions, [&] { return random() % (disk.position() + 1); });
        std::ranges::sort(positions);
        RecordingDisk::PowerCut cut {disk};
        std::size_t shortened = 0;
        for (const auto position : positions) {
            SCOPED_TRACE(testing::Message() << "cut at " << position << " of " << disk.position());
            const TemporaryFolder left;
            cut.advanceTo(position);
            cut.leaveFiles(left.path(), random);
            const int step = stepLeftIn(left.path());
            const int written = stepAt(acknowledged, position);
            ASSERT_GE(step, atLeast(position));
            ASSERT_LE(step, written + 1);
            shortened += step < written;
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_GT(shortened, 0U) << "the cuts have an effect";
        RecordProperty("cuts", static_cast<int>(positions.size()));
    }
};

TEST_F(UserDefaultsPowerCutTest, NothingIsMissingThatWasSynchronized)
{
    RecordingDisk disk;
    Marks acknowledged;
    Marks synchronized;
    int step = 0;
    for (int life = 0; life < 4; ++life) {
        UserDefaultsSQLite store {{.folder = folder.path(), .checkpointDelay = std::chrono::hours {1}}};
        // A reader that stays keeps the log from being moved into the file.
        SQLiteDatabase reader {folder.file(), std::chrono::seconds {5}};
        for (int round = 0; round < 60; ++round) {
            if (round % 20 == 10) {
                reader.execute("BEGIN");
                reader.execute("SELECT count(*) FROM entry");
            } else if (round % 20 == 0 && round > 0) {
                reader.execute("COMMIT");
            }
            write(store, ++step);
            acknowledged[disk.position()] = step;
            if (random() % 4 == 0) {
                store.synchronize();
                synchronized[disk.position()] = step;
            }
        }
        reader.execute("COMMIT");
        store.close();
        synchronized[disk.position()] = step;
    }
    cutOften(disk, acknowledged, [&](std::size_t position) { return stepAt(synchronized, position); });
}

TEST_F(UserDefaultsPowerCutTest, AtMostTheLastSecondIsMissing)
{
    RecordingDisk disk;
    Marks acknowledged;
    {
        UserDefaultsSQLite store {{.folder = folder.path()}};
        const auto end = RecordingDisk::Clock::now() + std::chrono::seconds {4};
        for (int step = 1; RecordingDisk::Clock::now() < end; ++step) {
            write(store, step);
            acknowledged[disk.position()] = step;
            // A pace, not a wait: the more calls, the longer each cut takes.
            std::this_thread::sleep_for(std::chrono::milliseconds {3});
        }
    }
    cutOften(disk, acknowledged, [&](std::size_t position) {
        const auto second = std::chrono::seconds {1};
        const auto moment = position < disk.position() ? disk.timeAt(position) : RecordingDisk::Clock::now();
        int step = 0;
        for (const auto& [place, number] : acknowledged) {
            if (place < disk.position() && disk.timeAt(place) + second <= moment)
                step = number;
        }
        return step;
    });
}

} // namespace
} // namespace kova::tests
