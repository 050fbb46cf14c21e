// An inbox as the notification centre has to show it: texts of usual length, two of three records unread, no pictures.

#pragma once

#include "KovaSDK/Push/PushModel/KovaNotification.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kova::benchmarks {

inline std::vector<KovaNotification> sampleInbox(std::size_t count)
{
    std::vector<KovaNotification> records;
    for (std::size_t number = 0; number < count; ++number) {
        auto& record = records.emplace_back();
        record.notificationID = "8c67ea65-eb65-4d1b-97e4-" + std::to_string(number);
        record.title = "Promoção " + std::to_string(number);
        record.body = "Olá! Você ganhou 20% de desconto em pães e cafés até domingo";
        record.launchURL = "https://example.com/p/" + std::to_string(number);
        record.att = "";
        record.read = number % 3 == 0;
    }
    return records;
}

} // namespace kova::benchmarks
