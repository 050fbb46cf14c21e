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

TEST(KovaKeyManagerTest, ReadsLargeFilesAndSaysOnceWhichIsTooLarge)
{
    const tests::TestPlatform platform;
    const auto file = platform.folder.path() / "bundle" / "Kova.plist";
    const std::string list = "<plist><dict><key>KovaAPIKey</key><string>key</string></dict></plist>";
    platform.addResource("Kova.plist", list + std::string((16U << 20U) - list.size(), ' '));
    testing::internal::CaptureStderr();
    EXPECT_EQ(values()[3], "key") << "as large as may be";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    platform.addResource("Kova.plist", list + std::string((16U << 20U) - list.size() + 1, ' '));
    testing::internal::CaptureStderr();
    EXPECT_EQ(values(), none);
    EXPECT_EQ(values(), none);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
        "KovaSDK: the configuration " + file.string() + " is larger than 16 MiB, so it is not read\n");
}

} // namespace
} // namespace kova
