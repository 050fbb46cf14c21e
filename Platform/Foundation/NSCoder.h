// An archive from which a platform's toolkit would restore views. This one has no such archives: a view that takes one
// only says that it cannot be made so.

#pragma once

namespace kova {

class NSCoder { };

} // namespace kova
