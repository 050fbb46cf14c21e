#include "Platform/Foundation/URLRequest.h"

#include <algorithm>

namespace kova {

bool HeaderFieldLess::operator()(std::string_view left, std::string_view right) const
{
    const auto lower = [](char letter) { return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter; };
    return std::ranges::lexicographical_compare(left, right, {}, lower, lower);
}

void URLRequest::addValue(std::string_view value, std::string_view field)
{
    const auto [entry, isNew] = allHTTPHeaderFields.try_emplace(std::string {field}, value);
    if (!isNew)
        entry->second.append(",").append(value);
}

bool URLRequest::isDownload() const
{
    return httpMethod == "GET" && (!httpBody || httpBody->empty());
}

std::string HTTPURLResponse::mimeType() const
{
    const auto field = allHeaderFields.find("Content-Type");
    if (field == allHeaderFields.end())
        return {};
    auto type = field->second.substr(0, field->second.find(';'));
    while (!type.empty() && (type.back() == ' ' || type.back() == '\t'))
        type.pop_back();
    std::ranges::transform(type, type.begin(),
        [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; });
    return type;
}

std::string description(const URLRequest& request)
{
    return request.url.absoluteString();
}

} // namespace kova
