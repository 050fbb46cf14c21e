#include "KovaSDK/Services/Networking/UploadCompletion.h"

#include "KovaSDK/Services/Networking/NetworkManager.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/Print.h"

#include <algorithm>
#include <string>

namespace kova {

namespace {

/// How many bytes of a body the log shows that was too long to be read whole.
constexpr std::size_t shownOfCutBody = 4096;

std::string cutDescription(const Data& body)
{
    auto shown = body.text();
    auto end = std::min(shownOfCutBody, shown.size());
    const auto continues
        = [&] { return end < shown.size() && (static_cast<unsigned char>(shown[end]) & 0xC0U) == 0x80U; };
    while (end > 0 && continues())
        --end;
    return decodedDescription(Data {std::string {shown.substr(0, end)}})
        + ", the beginning of a reply of more than 1 MiB";
}

} // namespace

DataTaskCompletion printingReply(UploadCompletion completion)
{
    return [completion = std::move(completion)](const std::optional<Data>& body,
               const std::optional<HTTPURLResponse>& response, std::error_code error) mutable {
        if (error) {
            completion(std::unexpected {error});
            return;
        }
        if (body)
            print("Result" + (response && response->isBodyCut ? cutDescription(*body) : decodedDescription(*body)));
        if (response)
            print(description(NetworkManager::handleNetworkResponse(*response)));
        completion(Value {true});
    };
}

} // namespace kova
