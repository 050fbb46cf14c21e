// A geofencing vendor that remembers its delegate, and what the delegate does with what it is handed.

#pragma once

#include "Platform/Vendors/PlotProjects.h"

#include <string>
#include <utility>
#include <vector>

namespace kova::tests {

class RecordingPlotProjects final : public PlotDebug {
public:
    std::vector<std::optional<AnyDictionary>> starts;
    std::weak_ptr<PlotDelegate> delegate;

    void initializeWithLaunchOptions(
        const std::optional<AnyDictionary>& launchOptions, std::weak_ptr<PlotDelegate> given) override
    {
        starts.push_back(launchOptions);
        delegate = std::move(given);
    }
};

struct RecordingConfiguration final : PlotConfiguration {
    std::vector<std::string> publicTokens;

    void setPublicToken(const std::string& publicToken) override { publicTokens.push_back(publicToken); }
};

struct RecordingBatch final : PlotHandleGeotriggers {
    explicit RecordingBatch(std::optional<List> geotriggers)
        : list(std::move(geotriggers))
    {
    }

    std::optional<List> list;
    /// What is there when it is asked for a second time, if that is something else.
    std::optional<std::optional<List>> listLater {};
    mutable int asked = 0;
    std::vector<std::optional<List>> marked {};

    [[nodiscard]] std::optional<List> geotriggers() const override
    {
        return asked++ > 0 && listLater ? *listLater : list;
    }
    void markGeotriggersHandled(const std::optional<List>& geotriggers) override { marked.push_back(geotriggers); }
};

/// A geotrigger with this data, or with a user info that has none.
[[nodiscard]] inline std::shared_ptr<const PlotGeotrigger> geotrigger(const std::optional<Value>& data)
{
    Value::Dictionary userInfo {{"identifier", "1"}, {"trigger", "exit"}};
    if (data)
        userInfo.emplace("action", *data);
    return std::make_shared<PlotGeotrigger>(PlotGeotrigger {.userInfo = std::move(userInfo)});
}

} // namespace kova::tests
