// Qt needs its application object before any test, and D-Bus the address of the bus before its first use.

#include "Tests/QtDevice/NetworkManager.h"
#include "Tests/Support/NetworkNamespace.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <memory>

namespace {

class Service final : public testing::Environment {
public:
    void SetUp() override
    {
        if (kova::tests::NetworkNamespace::isInside())
            ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
        else
            service = std::make_unique<kova::tests::NetworkManager>();
    }
    void TearDown() override { service.reset(); }

    static inline std::unique_ptr<kova::tests::NetworkManager> service;
};

} // namespace

kova::tests::NetworkManager* kova::tests::networkManager()
{
    return Service::service.get();
}

int main(int argc, char** argv)
{
    const QCoreApplication application {argc, argv};
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new Service);
    return RUN_ALL_TESTS();
}
