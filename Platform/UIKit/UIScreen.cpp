#include "Platform/UIKit/UIScreen.h"

namespace kova {

UIScreen& UIScreen::main()
{
    static UIScreen screen;
    return screen;
}

} // namespace kova
