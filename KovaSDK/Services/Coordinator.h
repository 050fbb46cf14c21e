// Decides how a flow of screens is made and shown.

#pragma once

#include "Platform/Foundation/Export.h"

namespace kova {

class KOVA_EXPORT Coordinator {
public:
    virtual ~Coordinator() = default;

    virtual void start() = 0;
};

} // namespace kova
