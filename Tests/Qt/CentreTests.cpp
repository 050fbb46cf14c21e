#include "KovaSDK/Push/Central/CentralLayout.h"
#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

namespace kova::tests {

TEST(CentrePixelTest, List)
{
    CentreWindow centre;
    centre.open(sampleInbox());
    static_cast<void>(centre.look("list"));
    centre.tapRow(1);
    static_cast<void>(centre.look("detail"));
    centre.tap(*centre.button("Apagar"));
    static_cast<void>(centre.look("alert"));
}

} // namespace kova::tests
