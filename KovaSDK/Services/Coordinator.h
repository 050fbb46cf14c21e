// Decides how a flow of screens is made and shown.

#pragma once

namespace kova {

class Coordinator {
public:
    virtual ~Coordinator() = default;

    virtual void start() = 0;
};

} // namespace kova
