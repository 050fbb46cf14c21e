// Tells the host's developer, on standard error, what constraints cannot do. Each trouble is said once.

#pragma once

namespace kova {

class NSLayoutConstraint;
class UIView;

void sayUnsatisfiable(const NSLayoutConstraint& constraint, bool& isSaid);
void sayAmbiguous(const UIView& view, bool& isSaid);

} // namespace kova
