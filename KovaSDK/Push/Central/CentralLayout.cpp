#include "KovaSDK/Push/Central/CentralLayout.h"

namespace kova {

CentralLayout& CentralLayout::default_()
{
    static auto& layout = *new CentralLayout;
    return layout;
}

} // namespace kova
