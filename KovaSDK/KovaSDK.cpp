#include "KovaSDK/KovaSDK.h"
