// Any view: what the item itself draws, and what is said of it.

import QtQuick
import KovaSDK.Centre

ViewItem {
    id: view

    // In seconds: one who takes time over a tap still taps.
    readonly property real longestTap: 3600

    Accessible.role: view.role
    Accessible.name: view.name
    Accessible.description: view.description
    Accessible.ignored: view.ignored
}
