// Stands in for the desktop's browser: records what it is asked to open.

#pragma once

#include <QDesktopServices>
#include <QObject>
#include <QUrl>
#include <array>
#include <vector>

namespace kova::tests {

class DesktopRecorder : public QObject {
    Q_OBJECT

public:
    DesktopRecorder()
    {
        for (const auto* scheme : schemes)
            QDesktopServices::setUrlHandler(QLatin1String {scheme}, this, "open");
    }
    ~DesktopRecorder() override
    {
        for (const auto* scheme : schemes)
            QDesktopServices::unsetUrlHandler(QLatin1String {scheme});
    }

    std::vector<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.push_back(url); }

private:
    static constexpr std::array schemes {"http", "https", "file", "javascript", "mailto", "kova-test"};
};

} // namespace kova::tests
