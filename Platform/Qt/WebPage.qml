// The page of the in-app browser, drawn by the engine. It goes nowhere but on the web, and opens no other program.

import QtQuick
import QtWebEngine

UIView {
    id: page

    // Bound here, since a view of the engine loads again whenever its address is set, also to what it is.
    readonly property url address: page.page
    onAddressChanged: view.url = address

    // The engine keeps the keys for the page; those that leave it come here all the same.
    Shortcut {
        sequences: ["Esc", "Back"]
        enabled: view.activeFocus && page.enabled
        onActivated: page.backPressed()
    }

    WebEngineView {
        id: view
        anchors.fill: parent
        settings.unknownUrlSchemePolicy: WebEngineSettings.DisallowUnknownUrlSchemes
        onNavigationRequested: (request) => page.isWebAddress(request.url) ? request.accept() : request.reject()
        // What asks for a window of its own is shown in this one.
        onNewWindowRequested: (request) => {
            if (page.isWebAddress(request.requestedUrl))
                url = request.requestedUrl
        }
        onUrlChanged: if (page.isWebAddress(url)) page.wentTo(url)
        onContextMenuRequested: (request) => request.accepted = true
    }

    Rectangle {
        width: parent.width * view.loadProgress / 100
        height: 2
        visible: view.loading
        color: "#0a6cff"
    }
}
