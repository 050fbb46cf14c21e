// The page of the in-app browser, drawn by the engine. It follows no address but those of the web.

import QtQuick
import QtWebEngine

UIView {
    id: page

    WebEngineView {
        anchors.fill: parent
        url: page.isWebAddress(page.page) ? page.page : ""
        onNavigationRequested: (request) => {
            request.action = page.isWebAddress(request.url)
                ? WebEngineNavigationRequest.AcceptRequest : WebEngineNavigationRequest.IgnoreRequest
        }
    }
}
