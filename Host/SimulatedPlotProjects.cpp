#include "Host/SimulatedPlotProjects.h"

#include <set>
#include <utility>

namespace kova::host {

class SimulatedPlotProjects::Configuration final : public PlotConfiguration {
public:
    void setPublicToken(const std::string& publicToken) override { m_publicToken = publicToken; }
    [[nodiscard]] const std::string& publicToken() const { return m_publicToken; }

private:
    std::string m_publicToken;
};

class SimulatedPlotProjects::Batch final : public PlotHandleGeotriggers {
public:
    explicit Batch(List geotriggers)
        : m_geotriggers(std::move(geotriggers))
    {
    }

    [[nodiscard]] std::optional<List> geotriggers() const override { return m_geotriggers; }

    void markGeotriggersHandled(const std::optional<List>& geotriggers) override
    {
        const std::lock_guard lock {m_mutex};
        for (const auto& geotrigger : geotriggers.value_or(List {}))
            m_handled.insert(geotrigger);
    }

    [[nodiscard]] std::size_t handled() const
    {
        const std::lock_guard lock {m_mutex};
        return m_handled.size();
    }

private:
    const List m_geotriggers;
    mutable std::mutex m_mutex;
    std::set<std::shared_ptr<const PlotGeotrigger>> m_handled;
};

std::shared_ptr<const PlotGeotrigger> SimulatedPlotProjects::fired(const std::optional<Value>& data)
{
    Value::Dictionary userInfo {
        {"identifier", "padaria"},
        {"matchIdentifier", "padaria-1"},
        {"message", "Padaria"},
        {"trigger", "enter"},
        {"geofenceLatitude", -8.05},
        {"geofenceLongitude", -34.88},
        {"matchRange", 100},
        {"regionType", "geofence"},
    };
    if (data)
        userInfo.emplace(PlotGeotriggerDataKey, *data);
    return std::make_shared<PlotGeotrigger>(PlotGeotrigger {.userInfo = std::move(userInfo)});
}

void SimulatedPlotProjects::initializeWithLaunchOptions(
    const std::optional<AnyDictionary>&, std::weak_ptr<PlotDelegate> delegate)
{
    const auto started = delegate.lock();
    {
        const std::lock_guard lock {m_mutex};
        m_delegate = std::move(delegate);
        m_loaded = {};
    }
    if (!started)
        return;
    started->plotLoadConfig(std::make_shared<Configuration>(), [this](const auto& configuration) {
        const auto* filled = dynamic_cast<const Configuration*>(configuration.get());
        const std::lock_guard lock {m_mutex};
        m_loaded.publicToken = filled ? filled->publicToken() : std::string {};
        ++m_loaded.completions;
    });
}

SimulatedPlotProjects::Loaded SimulatedPlotProjects::loaded() const
{
    const std::lock_guard lock {m_mutex};
    return m_loaded;
}

std::size_t SimulatedPlotProjects::fire(PlotHandleGeotriggers::List geotriggers)
{
    const auto batch = std::make_shared<Batch>(std::move(geotriggers));
    m_queue->sync([this, batch] {
        std::unique_lock lock {m_mutex};
        const auto delegate = m_delegate.lock();
        lock.unlock();
        if (delegate)
            delegate->plotHandleGeotriggers(batch);
    });
    return batch->handled();
}

} // namespace kova::host
