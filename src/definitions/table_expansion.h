// Builds a table from factors of its parents, one parent after the other.
#ifndef QVR_DEFINITIONS_TABLE_EXPANSION_H
#define QVR_DEFINITIONS_TABLE_EXPANSION_H

#include <algorithm>
#include <vector>

namespace qvr {

// The first `rows` rows of `cells` stand for the combinations of some parents; they become those with one
// more parent, the fastest. combine(before, outcome, after) makes a new row from an old one, which isn't in
// the table any more. All parents in turn touch a bit more cells than the table has in the end: each step
// is as large as all before it together.
template <typename Combine>
void ExpandByParent(double* cells, int rows, int width, int outcomes, Combine combine) {
  std::vector<double> before(static_cast<std::size_t>(width));
  for (int row = rows - 1; row >= 0; --row) {  // from the back: what is overwritten is done with
    std::copy_n(cells + row * width, width, before.begin());
    for (int outcome = outcomes - 1; outcome >= 0; --outcome) {
      combine(before.data(), outcome, cells + (row * outcomes + outcome) * width);
    }
  }
}

}  // namespace qvr

#endif
