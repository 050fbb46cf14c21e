// The offline buffer: event bodies that could not be delivered wait here, oldest first, until the device is online.
//
// Every instance works on the same persistent list in user defaults, so an EventStorage is made where it is needed and
// dropped. There is no limit, no merging, no expiry. Threads: any; one call is atomic, also between processes. Releases
// may overlap.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Value.h"

namespace kova {

class EventStorage {
public:
    /// The key in user defaults; the value is an array of data.
    static constexpr const char* key = "kova_buffer";

    /// The buffered bodies, oldest first: every element is a Data. Shares structure with the store, so that it is cheap
    /// at any length. Reads as empty when what is stored is no array, or any element is no data.
    [[nodiscard]] Value::Array buffer() const;
    void setBuffer(Value::Array buffer) const;

    /// Appends one complete event body (UTF-8 JSON).
    void store(Data event) const;
    /// Drops the oldest body, if there is one.
    void removeFirst() const;

    /// Starts to send what is buffered, on a new background queue "releaseEventsPool", and returns at once.
    ///
    /// The first body is sent as many times as there are bodies, and each delivery removes the first of the list; the
    /// first pass that is not acknowledged with status 200 ends the release. That the others are removed unsent is
    /// contract. A list that somebody else empties just as the release begins stops the process, by contract too.
    void releaseEvents() const;
};

} // namespace kova
