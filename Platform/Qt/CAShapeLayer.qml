// A shape on a view; the item itself draws it.

CALayer {
}
