#include "Fuzz/Fuzzing.h"
#include "Fuzz/Support/ByteReader.h"
#include "Fuzz/Support/FuzzPlatform.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Platform/Libraries/SQLiteDatabase.h"
#include "Platform/Libraries/UserDefaultsSQLite.h"

#include <chrono>
#include <filesystem>
#include <utility>

namespace {

using namespace kova;

// The store's file as somebody else sees it who writes whatever rows he likes.
class Rows {
public:
    explicit Rows(const std::filesystem::path& file)
        : m_database(file, std::chrono::seconds {5})
    {
        m_database.execute("PRAGMA synchronous = OFF");
    }

    /// Replaces all rows. Of each: which row it is, its kind, and its value, which may be of any type.
    void replace(fuzz::ByteReader input)
    {
        SQLiteTransaction transaction {m_database, SQLiteTransaction::Kind::Write};
        m_clearEntries.run();
        m_clearElements.run();
        const auto first = input.byte();
        const auto entry = number(input, first);
        insert(m_insertEntry, input, entry, std::string_view {EventStorage::key});
        std::int64_t position = number(input, first >> 2U);
        while (!input.isAtEnd()) {
            const auto where = input.byte();
            // Mostly the next element of the list, as it should be.
            if ((where & 7U) == 7)
                position = number(input, where >> 3U);
            insert(m_insertElement, input, (where & 0x60U) == 0x60 ? input.byte() : entry, position);
            position = static_cast<std::int64_t>(static_cast<std::uint64_t>(position) + 1);
        }
        transaction.commit();
    }

    /// How many elements there are under any key.
    std::int64_t elements()
    {
        m_count.reset();
        require(m_count.step());
        const auto count = m_count.integer(0);
        m_count.reset();
        return count;
    }

private:
    static std::int64_t number(fuzz::ByteReader& input, unsigned width)
    {
        return (width & 3U) == 3 ? input.integer() : static_cast<std::int64_t>(width & 3U);
    }

    template <typename... Places>
    static void insert(SQLiteStatement& statement, fuzz::ByteReader& input, const Places&... places)
    {
        const auto form = input.byte();
        const auto kind = (form & 7U) == 7 ? input.integer() : static_cast<std::int64_t>(form & 7U);
        if ((form & 0x18U) == 0x18)
            statement.with(places..., kind, input.integer()).run();
        else if ((form & 0x18U) == 0x10)
            statement.with(places..., kind, input.counted()).run();
        else
            statement.with(places..., kind, SQLiteStatement::Blob {input.counted()}).run();
    }

    SQLiteDatabase m_database;
    SQLiteStatement m_clearEntries = m_database.prepare("DELETE FROM entry");
    SQLiteStatement m_clearElements = m_database.prepare("DELETE FROM element");
    SQLiteStatement m_insertEntry
        = m_database.prepare("INSERT INTO entry (id, key, kind, value) VALUES (?1, ?2, ?3, ?4)");
    SQLiteStatement m_insertElement
        = m_database.prepare("INSERT OR REPLACE INTO element (entry, position, kind, value) VALUES (?1, ?2, ?3, ?4)");
    SQLiteStatement m_count = m_database.prepare("SELECT count(*) FROM element WHERE entry IN (SELECT id FROM entry)");
};

// The same store under two connections, like an application and its extension.
struct Stores {
    fuzz::FuzzPlatform platform {MainLoop::Host};
    UserDefaultsSQLite other {{.folder = platform.storeFolder()}};
    Rows rows {platform.storeFolder() / "defaults.sqlite"};

    static Stores& instance()
    {
        static Stores stores;
        return stores;
    }

    /// What the SDK reads is this, and so does the other connection.
    void requireBuffer(const Value::Array& expected)
    {
        require(EventStorage {}.buffer() == expected);
        const auto seen = other.object(EventStorage::key);
        require(seen && seen->as<Value::Array>() && *seen->as<Value::Array>() == expected);
        require(std::cmp_equal(rows.elements(), expected.size()));
    }
};

} // namespace

// The rows of the event buffer are whatever they are: what cannot be read is an empty buffer, what is stored after that
// comes behind what could be read, and the list in the file is whole again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    auto& stores = Stores::instance();
    stores.rows.replace(fuzz::ByteReader {{reinterpret_cast<const char*>(bytes), size}});

    const EventStorage storage;
    const auto read = UserDefaults::standard()->object(EventStorage::key);
    auto buffer = storage.buffer();
    require(buffer.empty() || (read && *read == Value {buffer}));

    const Data event {R"({"type":"page_view"})"};
    storage.store(event);
    buffer.append(event);
    stores.requireBuffer(buffer);

    buffer.removeFirst();
    storage.setBuffer(buffer);
    stores.requireBuffer(buffer);

    stores.other.setObject(EventStorage::key, Value {"not a list"});
    require(storage.buffer().empty() && stores.rows.elements() == 0);
    storage.store(event);
    stores.requireBuffer({event});
    return 0;
}
