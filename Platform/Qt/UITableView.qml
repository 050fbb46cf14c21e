// A list of rows; only those that are visible are there.

UIScrollView {
}
