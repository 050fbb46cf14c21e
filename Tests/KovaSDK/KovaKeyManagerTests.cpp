#include "KovaSDK/KovaKeysManager.h"
#include "Platform/Foundation/PropertyList.h"
#include "Tests/Support/TestPlatform.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>

namespace kova {
namespace {

using Dictionary = Value::Dictionary;
using Values = std::array<std::string, 4>;

Values values()
{
    const KovaKeyManager keys;
    return {keys.get(KovaKey::geoID), keys.get(KovaKey::audienceID), keys.get(KovaKey::notificationID),
        keys.get(KovaKey::apiKey)};
}

const Values none {};

TEST(KovaKeyManagerTest, ReadsTheHostsFileAfreshEachTime)
{
    const tests::TestPlatform platform;
    EXPECT_EQ(values(), none) << "no file";

    const Dictionary configuration {{"KovaGeolocationID", "geo"}, {"KovaAudienceID", "plateia"},
        {"KovaNotificationID", 42}, {"KovaAPIKey", "segredo €"}, {"Other", Dictionary {}}};
    platform.addResource("Kova.plist", PropertyListEncoder::encode(configuration)->text());
    EXPECT_EQ(values(), (Values {"geo", "plateia", "", "segredo €"})) << "binary, with a number";

    platform.addResource("Kova.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
  <key>KovaNotificationID</key><string>app &amp; id</string>
  <key>KovaAPIKey</key><true/>
</dict></plist>)");
    EXPECT_EQ(values(), (Values {"", "", "app & id", ""})) << "XML";

    for (const auto* broken :
        {"", "bplist00", "<plist><dict><key>KovaAPIKey</key>", "<plist><array/></plist>", "KovaAPIKey"}) {
        platform.addResource("Kova.plist", broken);
        EXPECT_EQ(values(), none) << broken;
    }
    const auto file = platform.folder.path() / "bundle" / "Kova.plist";
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(values(), none) << "a folder";
}

} // namespace
} // namespace kova
