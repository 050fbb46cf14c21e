#include "KovaSDK/Push/PushServices/InboxCoder.h"

#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/BinaryPropertyListReader.h"
#include "Platform/Foundation/BinaryPropertyListWriter.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/Unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

namespace kova {

namespace {

using CodingKeys = KovaNotification::CodingKeys;
using Index = BinaryPropertyListWriter::Index;
using Object = BinaryPropertyListReader::Object;
using Text = std::optional<std::string> KovaNotification::*;

struct Field {
    std::string_view key;
    /// Null for "read".
    Text text;
};

// In the order of their keys, in which dictionaries are written.
const std::array fields {
    Field {rawValue(CodingKeys::att), &KovaNotification::att},
    Field {rawValue(CodingKeys::body), &KovaNotification::body},
    Field {rawValue(CodingKeys::launchURL), &KovaNotification::launchURL},
    Field {rawValue(CodingKeys::notificationID), &KovaNotification::notificationID},
    Field {rawValue(CodingKeys::read), nullptr},
    Field {rawValue(CodingKeys::subtitle), &KovaNotification::subtitle},
    Field {rawValue(CodingKeys::title), &KovaNotification::title},
};

bool isPresent(const KovaNotification& record, const Field& field)
{
    return !field.text || record.*field.text;
}

// Writes the records of an inbox. A key is written once, before the first record that has it.
class RecordWriter {
public:
    RecordWriter(std::size_t objectCount, std::size_t payload)
        : m_writer(objectCount, payload)
    {
    }

    Index write(const KovaNotification& record)
    {
        std::array<Index, 2 * fields.size()> parts {};
        std::size_t count = 0;
        for (std::size_t field = 0; field < fields.size(); ++field) {
            if (!isPresent(record, fields[field]))
                continue;
            if (!m_keys[field])
                m_keys[field] = m_writer.writeText(fields[field].key);
            parts[count++] = *m_keys[field];
        }
        for (const auto& field : fields) {
            if (isPresent(record, field))
                parts[count++]
                    = field.text ? m_writer.writeText(*(record.*field.text)) : m_writer.writeBoolean(record.read);
        }
        return m_writer.writeDictionary(std::span {parts}.first(count));
    }

    Data finish(std::span<const Index> records) { return Data {m_writer.finish(m_writer.writeArray(records))}; }

private:
    BinaryPropertyListWriter m_writer;
    std::array<std::optional<Index>, fields.size()> m_keys {};
};

// Reads an array of records. Everything else is left to the general decoder: unknown keys, values of other kinds,
// damage, lists that unfold to too much.
class RecordReader {
public:
    explicit RecordReader(std::string_view bytes)
        : m_reader(bytes)
        , m_remainingCost(BinaryPropertyList::maximumCost(bytes.size()))
    {
    }

    std::optional<std::vector<KovaNotification>> read()
    {
        if (!m_reader.readTrailer())
            return std::nullopt;
        const auto list = m_reader.object(m_reader.root());
        if (!list || list->kind != BinaryPropertyListReader::Kind::array
            || !charge(BinaryPropertyListReader::cost(*list)))
            return std::nullopt;
        constexpr auto costOfRecord = BinaryPropertyList::costOfValue + BinaryPropertyList::costOfContainer;
        if (list->count > m_remainingCost / costOfRecord)
            return std::nullopt;
        std::vector<KovaNotification> records;
        // One more is about to come, mostly.
        records.reserve(list->count + 1);
        for (std::size_t position = 0; position < list->count; ++position) {
            const auto dictionary = m_reader.object(m_reader.indexAt(*list, position));
            if (!dictionary || !readRecord(*dictionary, records.emplace_back()))
                return std::nullopt;
        }
        return records;
    }

private:
    using Kind = BinaryPropertyListReader::Kind;

    struct Key {
        std::uint64_t index = 0;
        std::uint64_t cost = 0;
        const Field* field = nullptr;
    };

    bool readRecord(const Object& dictionary, KovaNotification& record)
    {
        if (dictionary.kind != Kind::dictionary || !charge(BinaryPropertyListReader::cost(dictionary)))
            return false;
        bool hasRead = false;
        for (std::size_t position = 0; position < dictionary.count; ++position) {
            const auto* key = keyAt(m_reader.indexAt(dictionary, position));
            const auto value = m_reader.object(m_reader.indexAt(dictionary, dictionary.count + position));
            if (!key || !value || !charge(key->cost + BinaryPropertyListReader::cost(*value)))
                return false;
            if (key->field->text) {
                auto text = value->isText() ? m_reader.text(*value) : std::nullopt;
                if (!text)
                    return false;
                record.*key->field->text = std::move(text);
            } else {
                if (value->kind != Kind::boolean)
                    return false;
                record.read = value->count == 1;
                hasRead = true;
            }
        }
        return hasRead;
    }

    // Lists have few key objects, used by all records.
    const Key* keyAt(std::uint64_t index)
    {
        if (const auto known = std::ranges::find(m_keys, index, &Key::index); known != m_keys.end())
            return &*known;
        const auto object = m_reader.object(index);
        if (!object || object->kind != Kind::ascii || m_keys.size() == mostKeys)
            return nullptr;
        const auto field = std::ranges::find(fields, m_reader.bytesOf(*object), &Field::key);
        if (field == fields.end())
            return nullptr;
        m_keys.push_back({.index = index, .cost = BinaryPropertyListReader::costOfKey(*object), .field = field});
        return &m_keys.back();
    }

    bool charge(std::uint64_t cost)
    {
        if (cost > m_remainingCost)
            return false;
        m_remainingCost -= cost;
        return true;
    }

    /// Searched one by one.
    static constexpr std::size_t mostKeys = 16;

    BinaryPropertyListReader m_reader;
    std::uint64_t m_remainingCost;
    std::vector<Key> m_keys;
};

std::optional<std::vector<KovaNotification>> recordsOf(const Value& list)
{
    const auto* values = list.as<Value::Array>();
    if (!values)
        return std::nullopt;
    std::vector<KovaNotification> records;
    records.reserve(values->size());
    for (const auto& value : *values) {
        auto record = KovaNotification::decode(value);
        if (!record)
            return std::nullopt;
        records.push_back(*std::move(record));
    }
    return records;
}

} // namespace

std::optional<Data> InboxCoder::encode(const std::vector<KovaNotification>& records)
{
    std::size_t objectCount = 1;
    std::size_t payload = 0;
    std::array<bool, fields.size()> isUsed {};
    for (const auto& record : records) {
        ++objectCount;
        for (std::size_t field = 0; field < fields.size(); ++field) {
            if (!isPresent(record, fields[field]))
                continue;
            objectCount += std::exchange(isUsed[field], true) ? 1 : 2;
            if (!fields[field].text)
                continue;
            const auto& text = *(record.*fields[field].text);
            if (!isValidUTF8(text))
                return std::nullopt;
            payload += text.size();
        }
    }
    RecordWriter writer {objectCount, payload};
    std::vector<Index> dictionaries;
    dictionaries.reserve(records.size());
    for (const auto& record : records)
        dictionaries.push_back(writer.write(record));
    return writer.finish(dictionaries);
}

std::optional<std::vector<KovaNotification>> InboxCoder::decode(std::string_view bytes)
{
    if (auto records = RecordReader {bytes}.read())
        return records;
    const auto list = PropertyListDecoder::decode(bytes);
    return list ? recordsOf(*list) : std::nullopt;
}

} // namespace kova
