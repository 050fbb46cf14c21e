// Any view: what the item itself draws, and what is said of it.

import QtQuick
import KovaSDK.Centre

ViewItem {
    id: view

    Accessible.role: view.role
    Accessible.name: view.name
    Accessible.description: view.description
    Accessible.ignored: view.ignored
}
