// KovaSDK: push notifications with a local inbox, behaviour events, geotriggers and the notification centre.
// The host application's one include; what draws the centre with Qt has headers of its own, in Platform/Qt.

#pragma once

#if __cplusplus <= 202002L
#error "KovaSDK needs C++23: compile with -std=c++23 (g++ 12 or newer, or clang++ 19 or newer)"
#endif

#include "KovaSDK/Events/EventModels/CartEvent.h"
#include "KovaSDK/Events/EventModels/PageEvent.h"
#include "KovaSDK/Events/EventServices/EventError.h"
#include "KovaSDK/Extensions/UIBarButtonItem.h"
#include "KovaSDK/Geolocation/GeolocationServices/KovaGeotrigger.h"
#include "KovaSDK/Push/Central/CentralButton.h"
#include "KovaSDK/Push/Central/CentralCoordinator.h"
#include "KovaSDK/Push/Central/CentralLayout.h"
#include "KovaSDK/Push/KovaNotify.h"
#include "KovaSDK/Push/PermissionSubscriptionState.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Platform.h"
#include "Platform/Vendors/OneSignal.h"
#include "Platform/Vendors/PlotProjects.h"
