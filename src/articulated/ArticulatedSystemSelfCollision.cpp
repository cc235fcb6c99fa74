// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <utility>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>

namespace zelvik {

namespace {

/// Writes the columns of a difference, consecutive; reads raw arrays that hold dof columns.
class ColumnWriter {
 public:
  explicit ColumnWriter(SparseJacobian& out) : columns_(out.v.v), idx_(out.idx.data()) {}

  void append(size_t velocity, double x, double y, double z) {
    double* column = columns_ + 3 * size_;
    column[0] = x;
    column[1] = y;
    column[2] = z;
    idx_[size_++] = velocity;
  }
  size_t size() const { return size_; }

 private:
  double* columns_;
  size_t* idx_;
  size_t size_ = 0;
};

/// out = a - b over the columns from `first` on, a merge of two ascending index lists. Columns
/// that cancel exactly are dropped.
void subtractColumns(const SparseJacobian& a, const SparseJacobian& b, size_t first,
                     SparseJacobian& out) {
  ColumnWriter writer(out);
  size_t i = first, j = first;
  while (i < a.size || j < b.size) {
    const double* ca = a.v.v + 3 * i;
    const double* cb = b.v.v + 3 * j;
    if (j >= b.size || (i < a.size && a.idx[i] < b.idx[j])) {
      writer.append(a.idx[i++], ca[0], ca[1], ca[2]);
    } else if (i >= a.size || b.idx[j] < a.idx[i]) {
      writer.append(b.idx[j++], -cb[0], -cb[1], -cb[2]);
    } else {
      const double x = ca[0] - cb[0], y = ca[1] - cb[1], z = ca[2] - cb[2];
      if (x != 0.0 || y != 0.0 || z != 0.0) writer.append(a.idx[i], x, y, z);
      ++i;
      ++j;
    }
  }
  out.size = writer.size();
}

}  // namespace

void ArticulatedSystem::mergeSelfCollisions() {
  // Two points of one system: what matters is the difference of their velocities, J_i - J_j. Under
  // a floating base the six base columns are equal and cancel; they are implicit (column 3 is a
  // lever arm), so the merge starts after them.
  const size_t first = tree_.isFloating() ? 6 : 0;
  jacobianScratch_.reserve(tree_.dof);
  std::vector<contact::Contact>& contacts = perObjectContact_.contacts_;
  for (size_t i = 0; i < numContacts_; ++i) {
    contact::Contact& c = contacts[i];
    if (c.selfCollision_) continue;  // by an `integrate2` before this one: J_i is the difference
    const bool isSelfCollision =
        c.pairObjectIndex_ == indexInWorld_ && c.objectA_ && c.pairBodyType_ == BodyType::DYNAMIC;
    if (!isSelfCollision) continue;
    const size_t j = c.pairContactIndex_;
    if (contactJacobians_[j].size > 0) {
      subtractColumns(contactJacobians_[i], contactJacobians_[j], first, jacobianScratch_);
      std::swap(contactJacobians_[i], jacobianScratch_);
    }
    c.selfCollision_ = true;
    contacts[j].skip_ = true;
  }
}

}  // namespace zelvik
