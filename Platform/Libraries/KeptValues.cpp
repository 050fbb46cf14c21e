#include "Platform/Libraries/KeptValues.h"

#include "Platform/Foundation/PropertyList.h"

#include <stdexcept>
#include <utility>

namespace kova {

namespace {

// How often it is looked whether the file is still the one that was opened.
constexpr std::chrono::milliseconds lookInterval {500};

} // namespace

void KeptValues::open()
{
    m_lastLook = std::chrono::steady_clock::now();
    m_whyReadOnly.clear();
    try {
        m_store = m_file.open();
        if (!m_store->isReadOnly())
            return;
        m_whyReadOnly = m_file.whyReadOnly();
        // It has become writable since; the next time it is opened so.
        if (m_whyReadOnly.empty())
            m_whyReadOnly = "it could only be read";
    } catch (const std::exception& failure) {
        auto why = m_file.whyReadOnly();
        if (why.empty() && !StoreFile::isForWantOfRoom(failure))
            throw;
        m_store = m_file.openToReadOnly();
        m_whyReadOnly = why.empty() ? failure.what() : std::move(why);
    }
}

// The file's content, or the file itself, is lost or about to be: what may not be on the disk is to be written again.
void KeptValues::letGo()
{
    for (auto& [key, unsynced] : m_unsynced)
        m_unwritten.try_emplace(key, std::move(unsynced.value));
    m_unsynced.clear();
    if (m_store)
        m_store->leaveLogBehind();
    m_store.reset();
}

void KeptValues::lookAfterFile()
{
    if (!m_store)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_lastLook < lookInterval)
        return;
    m_lastLook = now;
    switch (m_file.changeSinceOpening()) {
    case StoreFile::Change::None:
        return;
    case StoreFile::Change::Replaced:
        m_file.say("was deleted or replaced while it was in use; what stands there now is used from here on");
        letGo();
        m_file.removeOldLog();
        return;
    case StoreFile::Change::LogLost:
        m_file.say("lost the files beside it while it was in use; they are made anew");
        try {
            m_store->checkpoint();
        } catch (const SQLiteFailure&) { // NOLINT(bugprone-empty-catch)
            // What this process has written of late is written again in any case.
        }
        letGo();
        m_file.removeOldLog();
        return;
    case StoreFile::Change::Cut:
        letGo();
        m_store = m_file.beginAfresh();
        return;
    }
}

// Runs an operation on the store, on a fresh one when the present one turns out to be damaged.
template <typename Operation> auto KeptValues::perform(Operation operation)
{
    // What can only be read is let go of at once, or it would stand in the way of whoever can write again.
    struct AtTheEnd {
        KeptValues& self;
        ~AtTheEnd()
        {
            if (!self.m_whyReadOnly.empty())
                self.m_store.reset();
        }
    } const atTheEnd {*this};

    lookAfterFile();
    if (!m_store)
        open();
    try {
        return operation(*m_store);
    } catch (const SQLiteFailure& failure) {
        if (!failure.isDamage() && !failure.isCut())
            throw;
    }
    // Another process may have set the file aside already; if not, opening it or the operation finds the damage again.
    letGo();
    open();
    try {
        return operation(*m_store);
    } catch (const SQLiteFailure& failure) {
        if (!failure.isDamage() || !m_whyReadOnly.empty())
            throw;
    }
    letGo();
    m_store = m_file.beginAfresh();
    return operation(*m_store);
}

KeptValues::KeptValues(std::filesystem::path folder, std::chrono::milliseconds busyTimeout)
    : m_patience(std::make_shared<Patience>(busyTimeout))
    , m_file(std::move(folder), m_patience)
{
    const std::lock_guard lock {m_mutex};
    try {
        perform([](StoredValues&) { return true; });
        if (!m_whyReadOnly.empty())
            throw std::runtime_error {m_whyReadOnly};
    } catch (const std::exception& failure) {
        failed(Writing, failure);
    }
}

std::optional<Value> KeptValues::read(std::string_view key)
{
    const std::lock_guard lock {m_mutex};
    if (m_hasEnded)
        return std::nullopt;
    if (const auto waiting = m_unwritten.find(key); waiting != m_unwritten.end())
        return waiting->second;
    try {
        auto value = perform([key](StoredValues& store) { return store.read(key); });
        if (!m_failedReads.empty())
            m_failedReads.erase(std::string {key});
        succeeded(Reading);
        // Reading may have found that the file is not the one that was written to.
        const auto waiting = m_unwritten.find(key);
        return waiting == m_unwritten.end() ? std::move(value) : waiting->second;
    } catch (const std::exception& failure) {
        failed(Reading, failure);
    }
    if (const auto waiting = m_unwritten.find(key); waiting != m_unwritten.end())
        return waiting->second;
    m_failedReads.emplace(key);
    return std::nullopt;
}

bool KeptValues::write(std::string_view keyView, std::optional<Value> value)
{
    std::string key {keyView};
    const std::lock_guard lock {m_mutex};
    if (m_hasEnded)
        return false;
    // What follows a failed read was made from nothing, and would replace all that is stored.
    if (m_failedReads.erase(key) > 0) {
        m_file.say("does not take a value after a read that failed, so a value is lost (key \"" + key + "\")");
        return false;
    }
    const bool isFirst = m_unsynced.empty();
    if (m_unwritten.empty()) {
        try {
            writeToStore(key, value);
            succeeded(Writing);
            return isFirst || m_troubles != 0 || !m_unwritten.empty();
        } catch (const std::exception& failure) {
            failed(Writing, failure);
        }
    }
    if (value && !PropertyListEncoder::encode(*value)) {
        m_file.say("does not take a value that is no property list (key \"" + key + "\")");
        return false;
    }
    m_unwritten.insert_or_assign(std::move(key), std::move(value));
    try {
        writeWaiting();
    } catch (const std::exception& failure) {
        failed(Writing, failure);
    }
    return true;
}

// A value that is no property list is dropped, with the key left as it was.
void KeptValues::writeToStore(const std::string& key, const std::optional<Value>& value)
{
    const bool isTaken = perform([&](StoredValues& store) {
        if (!m_whyReadOnly.empty())
            throw std::runtime_error {m_whyReadOnly};
        if (value)
            return store.write(key, *value);
        store.remove(key);
        return true;
    });
    if (!isTaken) {
        m_file.say("does not take a value that is no property list (key \"" + key + "\")");
        return;
    }
    m_unwritten.erase(key);
    m_unsynced.insert_or_assign(key, UnsyncedValue {.value = value, .number = ++m_writes});
}

void KeptValues::writeWaiting()
{
    if (m_unwritten.empty())
        return;
    while (!m_unwritten.empty()) {
        const auto [key, value] = *m_unwritten.begin();
        writeToStore(key, value);
        m_unwritten.erase(key);
    }
    succeeded(Writing);
}

KeptValues::Progress KeptValues::bringToDisk()
{
    std::uint64_t number = 0;
    bool isWritten = true;
    {
        const std::lock_guard lock {m_mutex};
        if (m_hasEnded)
            return Progress::Done;
        try {
            m_lastLook = {};
            lookAfterFile();
            writeWaiting();
        } catch (const std::exception& failure) {
            failed(Writing, failure);
            isWritten = false;
        }
        if (m_unsynced.empty())
            return isWritten ? Progress::Done : Progress::Failed;
        number = m_writes;
    }
    try {
        SQLiteDatabase {m_file.path(), m_patience, SQLiteDatabase::Mode::Existing}.checkpoint();
    } catch (const SQLiteFailure& failure) {
        const std::lock_guard lock {m_mutex};
        failed(Syncing, failure);
        if (failure.isDamage() || failure.isCut())
            letGo();
        return Progress::Failed;
    }
    const std::lock_guard lock {m_mutex};
    m_file.noteLength();
    succeeded(Syncing);
    std::erase_if(m_unsynced, [number](const auto& entry) { return entry.second.number <= number; });
    if (!isWritten)
        return Progress::Failed;
    return m_unsynced.empty() && m_unwritten.empty() ? Progress::Done : Progress::MoreCame;
}

void KeptValues::end()
{
    bringToDisk();
    const std::lock_guard lock {m_mutex};
    m_hasEnded = true;
    std::string keys;
    for (const auto& [key, value] : m_unwritten)
        keys.append(keys.empty() ? "\"" : ", \"").append(key).append("\"");
    if (!keys.empty())
        m_file.say("is let go of without what could not be written, which is lost: " + keys);
    // Closing the last connection folds in and deletes the log, which must be its own.
    if (m_store && m_file.changeSinceOpening() != StoreFile::Change::None)
        m_store->leaveLogBehind();
    m_store.reset();
}

void KeptValues::failed(Trouble trouble, const std::exception& failure)
{
    m_patience->setShort(true);
    if ((std::exchange(m_troubles, m_troubles | trouble) & trouble) != 0)
        return;
    const std::string why = failure.what();
    if (trouble == Reading)
        m_file.say("cannot be read: " + why);
    else if (trouble == Writing)
        m_file.say("cannot be written: " + why + "; what is set is kept in memory until it can be");
    else
        m_file.say("cannot be brought to the disk: " + why + "; it is tried again");
}

void KeptValues::succeeded(Trouble trouble)
{
    if ((m_troubles & trouble) == 0)
        return;
    m_troubles &= ~trouble;
    if (m_troubles == 0)
        m_patience->setShort(false);
    if (trouble == Reading)
        m_file.say("can be read again");
    else if (trouble == Writing)
        m_file.say("can be written again, and what was kept in memory is stored");
    else
        m_file.say("is brought to the disk again");
}

} // namespace kova
