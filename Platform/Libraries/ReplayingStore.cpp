#include "Platform/Libraries/ReplayingStore.h"

#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/PropertyList.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kova {

// The transaction that functions of updates run in at this moment.
struct ReplayingStore::InTransaction {
    InTransaction(ReplayingStore& store, StoreTables::Transaction& transaction)
        : m_store(store)
    {
        m_store.m_transaction = &transaction;
    }
    ~InTransaction() { m_store.m_transaction = nullptr; }
    InTransaction(const InTransaction&) = delete;
    InTransaction& operator=(const InTransaction&) = delete;

    ReplayingStore& m_store;
};

namespace {

/// So often an operation is tried on a store that turns out to be changed or damaged.
constexpr int attempts = 4;

} // namespace

// Runs an operation on the tables: on fresh ones when the present ones turn out to be changed or damaged, on none where
// nothing can be written and nothing is stored.
template <typename Operation> auto ReplayingStore::perform(Operation operation)
{
    // A store that can only be read is closed at once, or it would stand in the way of a writer.
    struct AtTheEnd {
        ReplayingStore& self;
        ~AtTheEnd()
        {
            if (!self.m_whyReadOnly.empty())
                self.m_tables.reset();
        }
    } const atTheEnd {*this};

    int damages = 0;
    for (int attempt = 1;; ++attempt) {
        try {
            if (!m_tables) {
                const std::lock_guard guard {m_checkpointMutex};
                open();
            }
            return operation(m_tables.get());
        } catch (const FileChanged& changed) {
            if (attempt == attempts)
                throw std::runtime_error {"somebody else changes it again and again"};
            recover(changed.change);
        } catch (const SQLiteFailure& failure) {
            const bool isBroken = failure.isDamage() || (failure.isCut() && damages == 0);
            if (failure.isIndexLost() && failure.isDiskFull()) {
                dropTables();
                throw;
            }
            const bool isRepairable = failure.isIndexLost() || (isBroken && m_tables && m_whyReadOnly.empty());
            if (!isRepairable || attempt == attempts)
                throw;
            const auto change = m_tables ? m_file.change() : StoreFile::Change::None;
            if (change != StoreFile::Change::None) {
                recover(change);
                continue;
            }
            if (failure.isIndexLost()) {
                closeTables();
                continue;
            }
            dropTables();
            // The index of the log may be to blame; it is made anew first.
            m_file.emptyIndex();
            if (++damages == 1)
                continue;
            const std::lock_guard guard {m_checkpointMutex};
            m_tables = m_file.beginAfresh();
        }
    }
}

ReplayingStore::ReplayingStore(std::filesystem::path folder, std::chrono::milliseconds busyTimeout)
    : m_timeout(std::make_shared<BusyTimeout>(busyTimeout))
    , m_flushTimeout(std::make_shared<BusyTimeout>(busyTimeout))
    , m_file(std::move(folder), m_timeout)
{
    const std::lock_guard guard {m_mutex};
    try {
        perform([](StoreTables*) { });
        if (!m_whyReadOnly.empty())
            throw std::runtime_error {m_whyReadOnly};
    } catch (const std::exception& failure) {
        failed(Writing, failure);
    }
}

std::unique_lock<std::mutex> ReplayingStore::lock()
{
    if (m_runningThread == std::this_thread::get_id())
        fatalError("UserDefaults::update: the function must not change the defaults itself");
    std::unique_lock guard {m_mutex};
    m_timeout->begin();
    return guard;
}

void ReplayingStore::open()
{
    m_whyReadOnly.clear();
    try {
        m_tables = m_file.open();
        if (!m_tables->isReadOnly())
            return;
        m_whyReadOnly = m_file.whyReadOnly();
        // It has become writable since; the next time it is opened so.
        if (m_whyReadOnly.empty())
            m_whyReadOnly = "it could only be read";
    } catch (const std::exception& failure) {
        auto why = m_file.whyReadOnly();
        if (why.empty() && !StoreFile::isDiskFull(failure))
            throw;
        m_tables = m_file.openReadOnly();
        m_whyReadOnly = why.empty() ? failure.what() : std::move(why);
    }
}

// The log has everything that was stored. It is left alone: other connections may need it.
void ReplayingStore::closeTables()
{
    m_views.clear();
    if (m_tables)
        m_tables->leaveLogBehind();
    m_tables.reset();
}

// The file's content, or the file itself, is lost or about to be: what may not be on the disk is to be replayed.
void ReplayingStore::dropTables()
{
    m_pending.insert(
        m_pending.begin(), std::make_move_iterator(m_unsynced.begin()), std::make_move_iterator(m_unsynced.end()));
    m_pendingCount = m_pending.size();
    m_unsynced.clear();
    closeTables();
}

void ReplayingStore::throwIfChanged()
{
    if (m_whyReadOnly.empty()) {
        if (const auto change = m_file.change(); change != StoreFile::Change::None)
            throw FileChanged {change};
    }
}

void ReplayingStore::recover(StoreFile::Change change)
{
    using Change = StoreFile::Change;
    switch (change) {
    case Change::None:
        return;
    case Change::Replaced:
        m_file.say("was deleted or replaced while it was in use; what stands there now is used from here on");
        dropTables();
        m_file.discardLog();
        return;
    case Change::Cut:
    case Change::Overwritten:
        if (m_file.waitUntilWritten() || change == Change::Overwritten) {
            m_file.say("was overwritten while it was in use; what stands there now is used from here on");
            dropTables();
            m_file.discardLog();
        } else {
            m_file.say("was cut short while it was in use");
            dropTables();
            m_file.emptyIndex();
        }
        return;
    case Change::LogLost:
        m_file.say("lost the files beside it while it was in use; they are made anew");
        if (m_tables && m_file.rescueLog(*m_tables)) {
            // The file has everything now that this process wrote.
            m_unsynced.clear();
            dropTables();
            m_file.discardLog();
        }
        dropTables();
        return;
    case Change::LogCut:
        m_file.say("lost a part of the log beside it while it was in use");
        dropTables();
        // The rest is older than the file where a checkpoint has moved more than that already.
        m_file.discardLog();
        return;
    case Change::IndexCut:
        m_file.say("lost a part of the index beside it while it was in use; it is made anew");
        closeTables();
        m_file.emptyIndex();
        return;
    }
}

std::optional<Value> ReplayingStore::run(const Update& update, std::optional<Value> present)
{
    struct Running {
        explicit Running(std::atomic<std::thread::id>& thread)
            : m_thread(thread)
        {
            m_thread = std::this_thread::get_id();
        }
        ~Running() { m_thread = std::thread::id {}; }
        std::atomic<std::thread::id>& m_thread;
    } const running {m_runningThread};
    return update.change(std::move(present));
}

// The index of the first kept update of a key whose result is not in the present value. Updates that were stored once
// are in it already when the value is one that they left.
std::size_t ReplayingStore::firstMissing(std::string_view key, const std::optional<Value>& present) const
{
    const auto wasStored = [&](const Update& update) { return update.result && update.key == key; };
    if (std::ranges::none_of(m_pending, wasStored))
        return 0;
    const ValueFingerprint fingerprint {present};
    const auto found = std::ranges::find_if(
        m_pending, [&](const Update& update) { return wasStored(update) && *update.result == fingerprint; });
    return found == m_pending.end() ? 0 : static_cast<std::size_t>(std::distance(m_pending.begin(), found)) + 1;
}

std::optional<Value> ReplayingStore::viewed(std::string_view key, const std::optional<Value>& base)
{
    auto found = m_views.find(key);
    if (found == m_views.end() || found->second.base != base) {
        View view {.base = base, .value = base, .applied = firstMissing(key, base)};
        found = m_views.insert_or_assign(std::string {key}, std::move(view)).first;
    }
    auto& view = found->second;
    for (; view.applied < m_pending.size(); ++view.applied) {
        const auto& update = m_pending[view.applied];
        if (update.key != key)
            continue;
        const bool isLast = view.applied + 1 == m_pending.size();
        try {
            view.value = run(update, view.value);
            if (isLast)
                m_thrown = nullptr;
        } catch (const SQLiteFailure&) {
            // Another key could not be read.
            throw;
        } catch (...) {
            if (isLast)
                m_thrown = std::current_exception();
            else
                m_file.say("drops a change whose function has failed (key \"" + update.key + "\")");
        }
    }
    return view.value;
}

// A function of an update reads another key: as its transaction sees it, or as it was known last.
std::optional<Value> ReplayingStore::readInUpdate(std::string_view key)
{
    if (m_transaction)
        return m_transaction->value(key);
    if (const auto view = m_views.find(key); view != m_views.end())
        return view->second.value;
    const auto known = m_lastKnown.find(key);
    return known == m_lastKnown.end() ? std::nullopt : known->second;
}

std::optional<Value> ReplayingStore::read(std::string_view key)
{
    if (m_runningThread == std::this_thread::get_id())
        return readInUpdate(key);
    const auto guard = lock();
    if (m_isClosed)
        return std::nullopt;
    auto known = m_lastKnown.find(key);
    try {
        auto value = perform([&](StoreTables* tables) {
            throwIfChanged();
            return tables ? tables->read(key) : std::nullopt;
        });
        if (known == m_lastKnown.end())
            known = m_lastKnown.emplace(key, std::nullopt).first;
        known->second = std::move(value);
        succeeded(Reading);
    } catch (const std::exception& failure) {
        failed(Reading, failure);
    }
    const auto base = known == m_lastKnown.end() ? std::nullopt : known->second;
    return m_pending.empty() ? base : viewed(key, base);
}

ReplayingStore::Flush ReplayingStore::update(std::string_view key, UserDefaults::Change change)
{
    return add({.key = std::string {key}, .change = std::move(change)});
}

ReplayingStore::Flush ReplayingStore::set(std::string_view key, std::optional<Value> value)
{
    return add({.key = std::string {key},
        .change = [value = std::move(value)](const std::optional<Value>&) { return value; },
        .isConstant = true});
}

ReplayingStore::Flush ReplayingStore::add(Update update)
{
    const auto guard = lock();
    if (m_isClosed)
        return Flush::IsDue;
    const bool isFirst = m_unsynced.empty() && m_pending.empty();
    m_pending.push_back(std::move(update));
    m_thrown = nullptr;
    try {
        applyPending();
    } catch (const std::exception& failure) {
        failed(Writing, failure);
        keepLast();
    }
    m_pendingCount = m_pending.size();
    if (m_thrown)
        std::rethrow_exception(std::exchange(m_thrown, nullptr));
    return isFirst || m_troubles != 0 || !m_pending.empty() ? Flush::Needed : Flush::IsDue;
}

// Keeps the latest update if it runs on the value that is known.
void ReplayingStore::keepLast()
{
    const auto key = m_pending.back().key;
    const auto known = m_lastKnown.find(key);
    const auto value = viewed(key, known == m_lastKnown.end() ? std::nullopt : known->second);
    const bool isTaken = !m_thrown && (!value || PropertyListEncoder::encode(*value));
    if (!isTaken) {
        if (!m_thrown)
            sayRefused(key);
        m_pending.pop_back();
        m_views.clear();
        return;
    }
    if (m_pending.back().isConstant) {
        std::erase_if(
            m_pending, [&](const Update& update) { return update.key == key && &update != &m_pending.back(); });
        m_views.clear();
    }
    m_hasKept = true;
}

// Stores what the kept updates make of the values of their keys, in one transaction.
void ReplayingStore::applyPending()
{
    if (m_pending.empty())
        return;
    Values values;
    std::vector<std::size_t> refused;
    perform([&](StoreTables* tables) {
        if (!m_whyReadOnly.empty())
            throw std::runtime_error {m_whyReadOnly};
        values.clear();
        refused.clear();
        throwIfChanged();
        StoreTables::Transaction transaction {*tables};
        const InTransaction inside {*this, transaction};
        // Another process of the SDK may have exchanged the log while this one waited for the lock.
        if (transaction.hasWaited() && m_file.isLogExchanged())
            throw FileChanged {StoreFile::Change::LogLost};
        for (const auto& update : m_pending) {
            if (!values.contains(update.key))
                values.emplace(update.key, apply(transaction, update.key, refused));
        }
        // What was read with a part of the index gone may be old.
        if (m_whyReadOnly.empty() && m_file.isIndexCut())
            throw FileChanged {StoreFile::Change::IndexCut};
        try {
            transaction.commit();
        } catch (const SQLiteFailure& failure) {
            // The log may have it whole all the same.
            if (failure.isIndexLost())
                noteResults(values);
            throw;
        }
    });
    if (m_thrown)
        refused.push_back(m_pending.size() - 1);
    for (std::size_t index = m_pending.size(); index-- > 0;) {
        if (std::ranges::find(refused, index) == refused.end())
            continue;
        if (!m_thrown || index + 1 < m_pending.size())
            sayRefused(m_pending[index].key);
        m_pending.erase(m_pending.begin() + static_cast<std::ptrdiff_t>(index));
    }
    noteResults(values);
    for (auto& [key, value] : values)
        m_lastKnown.insert_or_assign(key, std::move(value));
    for (auto& update : std::exchange(m_pending, {}))
        noteWritten(std::move(update));
    m_pendingCount = 0;
    m_views.clear();
    succeeded(Reading);
    succeeded(Writing);
    if (m_tables)
        m_file.shortenLog(*m_tables);
}

// The values between were never stored, so only the last update of a key can be recognised by its result.
void ReplayingStore::noteResults(const Values& values)
{
    for (const auto& [key, value] : values) {
        const auto last = std::ranges::find(m_pending.rbegin(), m_pending.rend(), key, &Update::key);
        if (last != m_pending.rend())
            last->result.emplace(value);
    }
}

// Sets a key to what its kept updates make of its present value. A result that is no property list changes nothing.
std::optional<Value> ReplayingStore::apply(
    StoreTables::Transaction& transaction, const std::string& key, std::vector<std::size_t>& refused)
{
    auto value = transaction.value(key);
    if (auto next = viewed(key, value); transaction.set(key, next))
        return next;
    for (auto index = firstMissing(key, value); index < m_pending.size(); ++index) {
        if (m_pending[index].key != key)
            continue;
        auto next = run(m_pending[index], value);
        if (transaction.set(key, next))
            value = std::move(next);
        else
            refused.push_back(index);
    }
    return value;
}

void ReplayingStore::noteWritten(Update update)
{
    if (update.isConstant)
        std::erase_if(m_unsynced, [&](const Update& earlier) { return earlier.key == update.key; });
    update.number = ++m_updates;
    m_unsynced.push_back(std::move(update));
}

ReplayingStore::Progress ReplayingStore::flush()
{
    for (int attempt = 1; attempt < attempts; ++attempt) {
        if (const auto progress = tryFlush(attempt))
            return *progress;
    }
    return Progress::Failed;
}

// None when the index of the log was cut meanwhile, so that another attempt is worthwhile.
std::optional<ReplayingStore::Progress> ReplayingStore::tryFlush(int attempt)
{
    std::uint64_t number = 0;
    bool isWritten = true;
    {
        const auto guard = lock();
        if (m_isClosed)
            return Progress::Done;
        try {
            if (m_pending.empty() && m_tables) {
                if (const auto change = m_file.change(); change != StoreFile::Change::None)
                    recover(change);
            }
            applyPending();
            m_thrown = nullptr;
        } catch (const std::exception& failure) {
            failed(Writing, failure);
            isWritten = false;
        }
        // Without a log a write goes to the disk at once.
        if (m_tables && !m_tables->hasLog())
            m_unsynced.clear();
        if (m_unsynced.empty())
            return isWritten ? Progress::Done : Progress::Failed;
        number = m_updates;
        m_file.beginCheckpoint();
    }
    std::optional<SQLiteFailure> failure;
    try {
        const std::lock_guard guard {m_checkpointMutex};
        m_file.checkpoint(m_flushTimeout);
    } catch (const SQLiteFailure& thrown) {
        failure = thrown;
    }
    const auto guard = lock();
    m_file.endCheckpoint();
    if (failure && failure->isIndexLost() && !failure->isDiskFull()) {
        if (m_tables)
            recover(m_file.change());
        closeTables();
        if (attempt + 1 < attempts)
            return std::nullopt;
    }
    if (failure) {
        failed(Syncing, *failure);
        if (failure->isDamage() || failure->isCut() || failure->isIndexLost())
            dropTables();
        return Progress::Failed;
    }
    // Files that were exchanged meanwhile were checkpointed in vain.
    if (m_tables && m_file.change() != StoreFile::Change::None)
        return Progress::MoreCame;
    succeeded(Syncing);
    std::erase_if(m_unsynced, [number](const Update& update) { return update.number <= number; });
    if (!isWritten)
        return Progress::Failed;
    return m_unsynced.empty() && m_pending.empty() ? Progress::Done : Progress::MoreCame;
}

void ReplayingStore::hurry(std::chrono::steady_clock::time_point deadline)
{
    m_timeout->endAt(deadline);
    m_flushTimeout->endAt(deadline);
}

std::size_t ReplayingStore::close()
{
    flush();
    const auto guard = lock();
    if (std::exchange(m_isClosed, true))
        return m_pending.size();
    std::map<std::string_view, std::size_t> lost;
    for (const auto& update : m_pending)
        ++lost[update.key];
    std::string text;
    for (const auto& [key, count] : lost)
        text.append(text.empty() ? "" : ", ").append(std::to_string(count) + " of \"" + std::string {key} + "\"");
    if (!text.empty())
        m_file.say("is closed without the updates that could not be stored, which are lost: " + text);
    // Closing the last connection folds in and deletes the log, which must be its own.
    if (m_tables && m_file.change() != StoreFile::Change::None)
        m_tables->leaveLogBehind();
    if (m_tables)
        m_file.close(std::move(m_tables));
    return m_pending.size();
}

void ReplayingStore::sayRefused(const std::string& key)
{
    m_file.say("does not take a value that is no property list (key \"" + key + "\")");
}

void ReplayingStore::failed(Trouble trouble, const std::exception& failure)
{
    m_timeout->setShort(true);
    m_flushTimeout->setShort(true);
    if ((std::exchange(m_troubles, m_troubles | trouble) & trouble) != 0)
        return;
    const std::string why = failure.what();
    if (trouble == Reading)
        m_file.say("cannot be read: " + why + "; what was known of it is used");
    else if (trouble == Writing)
        m_file.say("cannot be written: " + why + "; updates are kept in memory until it can be");
    else
        m_file.say("cannot be brought to the disk: " + why + "; it is tried again");
}

void ReplayingStore::succeeded(Trouble trouble)
{
    if ((m_troubles & trouble) == 0)
        return;
    m_troubles &= ~trouble;
    if (m_troubles == 0) {
        m_timeout->setShort(false);
        m_flushTimeout->setShort(false);
    }
    if (trouble == Reading)
        m_file.say("can be read again");
    else if (trouble == Writing)
        std::exchange(m_hasKept, false)
            ? m_file.say("can be written again, and the updates that were kept in memory are stored")
            : m_file.say("can be written again");
    else
        m_file.say("is brought to the disk again");
}

} // namespace kova
