// A table of owned elements, one for each combination of the outcomes of some parents.
#ifndef QVR_DEFINITIONS_ELEMENT_TABLE_H
#define QVR_DEFINITIONS_ELEMENT_TABLE_H

#include <cmath>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

#include "model/dense_matrix.h"
#include "model/number_array.h"
#include "model/status.h"

namespace qvr {

// Row-major, the last dimension fastest; without dimensions there is one element. No element is null.
// Element has a Clone() that gives a std::unique_ptr<Element>.
//
// The structure changes on a matrix whose cells hold the indices of the elements, so that the operations of
// QVR_Dmatrix serve here too. Index 0 is thus what a new item of a dimension holds. The matrix has one more
// dimension, the last, of size 1: one without dimensions would have no cell.
template <typename Element>
class ElementTable {
 public:
  using ElementPtr = std::unique_ptr<Element>;

  explicit ElementTable(ElementPtr only) { elements.push_back(std::move(only)); }
  ElementTable(const ElementTable& other);  // deep; std::bad_alloc if memory is short
  ElementTable(ElementTable&&) noexcept = default;
  ElementTable& operator=(const ElementTable&) = delete;
  ElementTable& operator=(ElementTable&&) noexcept = default;
  ~ElementTable() = default;

  [[nodiscard]] int GetSize() const { return static_cast<int>(elements.size()); }
  [[nodiscard]] const QVR_intArray& GetDimensions() const { return dimensions; }
  [[nodiscard]] const QVR_intArray& GetStrides() const { return strides; }
  // The sum of coordinate times stride; -2 unless there is a valid coordinate for each dimension.
  [[nodiscard]] int IndexOf(std::span<const int> coordinates) const;
  [[nodiscard]] ElementPtr& operator[](int index) { return elements[static_cast<std::size_t>(index)]; }
  [[nodiscard]] const Element& operator[](int index) const {
    return *elements[static_cast<std::size_t>(index)];
  }
  [[nodiscard]] std::span<const ElementPtr> View() const { return elements; }

  // Replaces everything. -2, with nothing changed, unless there is an element for each combination, and -42.
  int Assign(std::span<const int> sizes, std::vector<ElementPtr> newElements);
  // The indices of the elements, in the shape of the table with a last dimension of size 1. -42.
  int GetIndices(QVR_Dmatrix& out) const;
  // Takes the shape of the matrix, its last dimension left out: the first cell with an index takes over the
  // element, further ones get clones, elements whose index is gone are deleted. -2 for a cell that holds no
  // index or a last dimension other than 1, -42; both with nothing changed.
  int Rebuild(const QVR_Dmatrix& indices);
  // GetIndices, `change`, which gets the matrix and gives a status code, and Rebuild. A failure changes
  // nothing.
  template <typename Change>
  int Restructure(const Change& change);

 private:
  static int ComputeStrides(std::span<const int> sizes, QVR_intArray& newDimensions,
                            QVR_intArray& newStrides);
  [[nodiscard]] bool HasIndex(double cell) const {
    return cell >= 0 && cell < GetSize() && cell == std::floor(cell);
  }

  std::vector<ElementPtr> elements;
  QVR_intArray dimensions;  // list
  QVR_intArray strides;     // list
};

template <typename Element>
ElementTable<Element>::ElementTable(const ElementTable& other) {
  if (dimensions.Copy(other.dimensions) < 0 || strides.Copy(other.strides) < 0) {
    throw std::bad_alloc();
  }
  elements.reserve(other.elements.size());
  for (const ElementPtr& element : other.elements) {
    elements.push_back(element->Clone());
  }
}

template <typename Element>
int ElementTable<Element>::IndexOf(std::span<const int> coordinates) const {
  if (coordinates.size() != static_cast<std::size_t>(dimensions.GetNumItems())) {
    return QVR_OUT_OF_RANGE;
  }
  int index = 0;
  for (int i = 0; i < dimensions.GetNumItems(); ++i) {
    const int coordinate = coordinates[static_cast<std::size_t>(i)];
    if (coordinate < 0 || coordinate >= dimensions[i]) {
      return QVR_OUT_OF_RANGE;
    }
    index += coordinate * strides[i];
  }
  return index;
}

// The strides of a table that was counted to fit into an int.
template <typename Element>
int ElementTable<Element>::ComputeStrides(std::span<const int> sizes, QVR_intArray& newDimensions,
                                          QVR_intArray& newStrides) {
  int stride = 1;
  for (std::size_t i = sizes.size(); i-- > 0;) {
    if (newDimensions.Insert(0, sizes[i]) < 0 || newStrides.Insert(0, stride) < 0) {
      return QVR_OUT_OF_MEMORY;
    }
    stride *= sizes[i];
  }
  return QVR_OKAY;
}

template <typename Element>
int ElementTable<Element>::Assign(std::span<const int> sizes, std::vector<ElementPtr> newElements) {
  long long count = 1;
  for (int size : sizes) {
    count = size < 1 ? 0 : count * size;
    if (count < 1 || count > QVR_Dmatrix::kMaxElements) {
      return QVR_OUT_OF_RANGE;
    }
  }
  if (count != static_cast<long long>(newElements.size())) {
    return QVR_OUT_OF_RANGE;
  }
  QVR_intArray newDimensions;
  QVR_intArray newStrides;
  if (int status = ComputeStrides(sizes, newDimensions, newStrides); status < 0) {
    return status;
  }
  dimensions.Swap(newDimensions);
  strides.Swap(newStrides);
  elements.swap(newElements);
  return QVR_OKAY;
}

template <typename Element>
int ElementTable<Element>::GetIndices(QVR_Dmatrix& out) const {
  std::vector<int> sizes(dimensions.begin(), dimensions.end());
  sizes.push_back(1);
  if (int status = out.SetDimensions(sizes); status < 0) {
    return status;
  }
  for (int i = 0; i < out.GetNumElements(); ++i) {
    out.Subscript(i) = i;
  }
  return QVR_OKAY;
}

template <typename Element>
int ElementTable<Element>::Rebuild(const QVR_Dmatrix& indices) {
  const int last = indices.GetNumDimensions() - 1;
  if (last < 0 || indices.GetDimension(last) != 1) {
    return QVR_OUT_OF_RANGE;
  }
  const std::span<const double> cells = indices.GetItems().Vector();
  for (double cell : cells) {
    if (!HasIndex(cell)) {
      return QVR_OUT_OF_RANGE;
    }
  }
  try {
    std::vector<ElementPtr> newElements(cells.size());
    std::vector<std::size_t> firstCell(elements.size(), cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const auto old = static_cast<std::size_t>(cells[i]);
      if (firstCell[old] == cells.size()) {
        firstCell[old] = i;
      } else {
        newElements[i] = elements[old]->Clone();
      }
    }
    QVR_intArray newDimensions;
    QVR_intArray newStrides;
    const std::span<const int> sizes = indices.GetDimensions().Vector().first(static_cast<std::size_t>(last));
    if (int status = ComputeStrides(sizes, newDimensions, newStrides); status < 0) {
      return status;
    }
    for (std::size_t old = 0; old < elements.size(); ++old) {
      if (firstCell[old] < cells.size()) {
        newElements[firstCell[old]] = std::move(elements[old]);
      }
    }
    dimensions.Swap(newDimensions);
    strides.Swap(newStrides);
    elements.swap(newElements);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

template <typename Element>
template <typename Change>
int ElementTable<Element>::Restructure(const Change& change) {
  QVR_Dmatrix indices;
  if (int status = GetIndices(indices); status < 0) {
    return status;
  }
  const int status = change(indices);
  return status < 0 ? status : Rebuild(indices);
}

}  // namespace qvr

#endif
