#include "Tests/Support/RecordingDisk.h"

#include <algorithm>
#include <fstream>
#include <optional>

namespace kova::tests {

namespace {

constexpr std::size_t sectorSize = 512;

bool isOneOf(std::mt19937& random, unsigned many)
{
    return random() % many == 0;
}

} // namespace

int RecordingDisk::before(const Access& access)
{
    if (access.call != Call::Write && access.call != Call::Truncate && access.call != Call::Sync
        && access.call != Call::Delete)
        return 0;
    const std::lock_guard lock {m_mutex};
    m_records.push_back({.call = access.call,
        .name = std::filesystem::path {access.file}.filename(),
        .offset = access.offset,
        .bytes = std::string {access.bytes},
        .bringsFolderToo = access.bringsFolderToo,
        .time = Clock::now()});
    return 0;
}

std::size_t RecordingDisk::position() const
{
    const std::lock_guard lock {m_mutex};
    return m_records.size();
}

RecordingDisk::Clock::time_point RecordingDisk::timeAt(std::size_t position) const
{
    const std::lock_guard lock {m_mutex};
    return m_records.at(position).time;
}

void RecordingDisk::apply(const Record& record, std::string& content)
{
    const auto offset = static_cast<std::size_t>(record.offset);
    if (record.call == Call::Truncate) {
        content.resize(offset);
        return;
    }
    content.resize(std::max(content.size(), offset + record.bytes.size()));
    content.replace(offset, record.bytes.size(), record.bytes);
}

void RecordingDisk::applyInPart(const Record& record, std::string& content, std::mt19937& random)
{
    if (record.call == Call::Truncate) {
        if (isOneOf(random, 2))
            apply(record, content);
        return;
    }
    const auto begin = static_cast<std::size_t>(record.offset);
    const auto end = begin + record.bytes.size();
    for (auto from = begin; from < end;) {
        const auto to = std::min(end, (from / sectorSize + 1) * sectorSize);
        auto piece = record;
        piece.offset = static_cast<std::int64_t>(from);
        piece.bytes = record.bytes.substr(from - begin, to - from);
        if (isOneOf(random, 20))
            std::ranges::generate(piece.bytes, [&random] { return static_cast<char>(random()); });
        if (isOneOf(random, 2))
            apply(piece, content);
        from = to;
    }
}

void RecordingDisk::PowerCut::advanceTo(std::size_t position)
{
    for (; m_position < position; ++m_position) {
        const auto& record = m_disk.m_records[m_position];
        auto& pending = m_pending[record.name];
        if (record.call == Call::Sync) {
            auto& content = m_synced[record.name];
            for (const auto index : pending)
                apply(m_disk.m_records[index], content);
            pending.clear();
            if (record.bringsFolderToo)
                m_ghosts.clear();
        } else if (record.call == Call::Delete) {
            if (const auto synced = m_synced.find(record.name); synced != m_synced.end()) {
                m_ghosts[record.name] = std::move(synced->second);
                m_synced.erase(synced);
            }
            pending.clear();
        } else {
            pending.push_back(m_position);
        }
    }
}

void RecordingDisk::PowerCut::leaveFiles(const std::filesystem::path& folder, std::mt19937& random) const
{
    enum Way { Nothing, Everything, Beginning, SomeWrites, SomeSectors };
    for (const auto& [name, pending] : m_pending) {
        const auto way = static_cast<Way>(random() % 5);
        const auto synced = m_synced.find(name);
        std::optional<std::string> content;
        if (synced != m_synced.end())
            content = synced->second;
        if (const auto ghost = m_ghosts.find(name); ghost != m_ghosts.end() && isOneOf(random, 2)) {
            content = ghost->second;
        } else {
            const auto beginning = pending.empty() ? 0 : random() % (pending.size() + 1);
            for (std::size_t number = 0; number < pending.size(); ++number) {
                const auto& record = m_disk.m_records[pending[number]];
                if (way == Everything || (way == Beginning && number < beginning)
                    || (way == SomeWrites && isOneOf(random, 2)))
                    apply(record, content ? *content : content.emplace());
                else if (way == SomeSectors || (way == Beginning && number == beginning))
                    applyInPart(record, content ? *content : content.emplace(), random);
            }
        }
        if (content)
            std::ofstream {folder / name, std::ios::binary} << *content;
    }
}

} // namespace kova::tests
