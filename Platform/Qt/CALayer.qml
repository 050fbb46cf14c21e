// A layer on a view; the item itself draws it.

UIView {
    z: 0.5
}
