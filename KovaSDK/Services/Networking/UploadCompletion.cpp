#include "KovaSDK/Services/Networking/UploadCompletion.h"

#include "KovaSDK/Services/Networking/NetworkManager.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/Print.h"

namespace kova {

DataTaskCompletion printingReply(UploadCompletion completion)
{
    return [completion = std::move(completion)](const std::optional<Data>& body,
               const std::optional<HTTPURLResponse>& response, std::error_code error) mutable {
        if (error) {
            completion(std::unexpected {error});
            return;
        }
        if (body)
            print("Result" + decodedDescription(*body));
        if (response)
            print(description(NetworkManager::handleNetworkResponse(*response)));
        completion(Value {true});
    };
}

} // namespace kova
