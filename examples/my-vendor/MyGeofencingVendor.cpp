#include "MyGeofencingVendor.h"

#include "Frameworks.h"

#include <utility>

namespace {

class Configuration final : public kova::PlotConfiguration {
public:
    void setPublicToken(const std::string& publicToken) override { token = publicToken; }

    std::string token;
};

/// One crossing as a batch of one.
class Batch final : public kova::PlotHandleGeotriggers {
public:
    explicit Batch(frameworks::Crossing crossing)
        : m_crossing(std::move(crossing))
    {
        kova::Value::Dictionary userInfo;
        for (const auto& [key, value] : m_crossing.data)
            userInfo.emplace(key, value);
        m_geotriggers.push_back(
            std::make_shared<kova::PlotGeotrigger>(kova::PlotGeotrigger {.userInfo = std::move(userInfo)}));
    }

    [[nodiscard]] std::optional<List> geotriggers() const override { return m_geotriggers; }

    void markGeotriggersHandled(const std::optional<List>& geotriggers) override
    {
        if (geotriggers && !geotriggers->empty())
            frameworks::Geofencing::acknowledge(m_crossing.id);
    }

private:
    frameworks::Crossing m_crossing;
    List m_geotriggers;
};

} // namespace

void MyGeofencingVendor::initializeWithLaunchOptions(
    const std::optional<kova::AnyDictionary>&, std::weak_ptr<kova::PlotDelegate> delegate)
{
    const auto started = delegate.lock();
    if (!started)
        return;
    started->plotLoadConfig(std::make_shared<Configuration>(), [delegate](const auto& loaded) {
        const auto* configuration = dynamic_cast<const Configuration*>(loaded.get());
        frameworks::Geofencing::start(configuration ? configuration->token : "", [delegate](auto crossing) {
            if (const auto living = delegate.lock())
                living->plotHandleGeotriggers(std::make_shared<Batch>(std::move(crossing)));
        });
    });
}
