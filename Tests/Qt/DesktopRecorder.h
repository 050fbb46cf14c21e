// Stands in for the desktop's browser: records what it is asked to open.

#pragma once

#include <QDesktopServices>
#include <QObject>
#include <QUrl>
#include <vector>

namespace kova::tests {

class DesktopRecorder : public QObject {
    Q_OBJECT

public:
    DesktopRecorder()
    {
        for (const auto* scheme : {"http", "https", "file", "javascript"})
            QDesktopServices::setUrlHandler(QLatin1String {scheme}, this, "open");
    }
    ~DesktopRecorder() override
    {
        for (const auto* scheme : {"http", "https", "file", "javascript"})
            QDesktopServices::unsetUrlHandler(QLatin1String {scheme});
    }

    std::vector<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.push_back(url); }
};

} // namespace kova::tests
