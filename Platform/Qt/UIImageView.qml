// A picture; the item itself draws it.

UIView {
}
