// The matrix against a map from coordinates to numbers, over random shapes and all operations; and the
// cursor over it.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <numeric>
#include <random>
#include <thread>

#include "model/dense_matrix.h"
#include "model/system_coordinates.h"

namespace qvr {
namespace {

using Coordinates = std::vector<int>;

struct Naive {
  Coordinates sizes;
  std::map<Coordinates, double> cells;  // in storage order
};

Naive Make(const Coordinates& sizes, const std::function<double(const Coordinates&)>& cell) {
  Naive made{sizes, {}};
  const std::function<void(Coordinates)> visit = [&](Coordinates at) {
    if (at.size() == sizes.size()) {
      made.cells[at] = cell(at);
      return;
    }
    at.push_back(0);
    for (; at.back() < sizes[at.size() - 1]; ++at.back()) {
      visit(at);
    }
  };
  if (!sizes.empty()) {
    visit({});
  }
  return made;
}

template <typename List>
List With(List list, int place, typename List::value_type x) {
  list[static_cast<std::size_t>(place)] = x;
  return list;
}
Coordinates Inserted(Coordinates list, int place, int x) {
  list.insert(list.begin() + place, x);
  return list;
}
Coordinates Removed(Coordinates list, int place) {
  list.erase(list.begin() + place);
  return list;
}
bool Matches(const Coordinates& at, const Coordinates& pattern) {
  return std::equal(at.begin(), at.end(), pattern.begin(), [](int x, int p) { return p < 0 || p == x; });
}
int At(const Coordinates& list, int place) { return list[static_cast<std::size_t>(place)]; }

Coordinates AsCoordinates(const QVR_intArray& array) { return {array.View().begin(), array.View().end()}; }
QVR_intArray AsVector(const Coordinates& list) {
  QVR_intArray array;
  array.Assign(list);
  return array;
}
QVR_intArray AsList(const Coordinates& list) {
  QVR_intArray array;
  for (const int x : list) {
    array.Add(x);
  }
  return array;
}

QVR_Dmatrix ToMatrix(const Naive& naive) {
  QVR_Dmatrix matrix(AsVector(naive.sizes));
  int index = 0;
  for (const auto& [at, x] : naive.cells) {
    matrix.Subscript(index++) = x;
  }
  return matrix;
}

void ExpectSame(const QVR_Dmatrix& matrix, const Naive& naive) {
  matrix.CheckInvariants();
  ASSERT_TRUE(matrix.HasShape(naive.sizes));
  ASSERT_EQ(static_cast<std::size_t>(matrix.GetNumElements()), naive.cells.size());
  int index = 0;
  for (const auto& [at, x] : naive.cells) {
    ASSERT_EQ(matrix.CoordinatesToIndex(AsVector(at)), index);
    ASSERT_EQ(matrix.Subscript(index++), x);
  }
}

class MatrixTest : public testing::Test {
 protected:
  int Random(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random); }
  Coordinates RandomOrder(int n) {
    Coordinates order(static_cast<std::size_t>(n));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    return order;
  }
  Coordinates RandomSizes() {
    Coordinates sizes(static_cast<std::size_t>(1 + Random(4)));
    std::generate(sizes.begin(), sizes.end(), [this] { return 1 + Random(4); });
    return sizes;
  }
  Naive RandomNaive(const Coordinates& sizes) {
    return Make(sizes, [this](const Coordinates&) { return Random(4); });
  }
  QVR_intArray EitherWay(const Coordinates& list) { return Random(2) == 0 ? AsVector(list) : AsList(list); }

  std::mt19937 random{20};
};

// One operation with random arguments on a matrix and on a map of the same cells.
class OperationTest : public MatrixTest {
 protected:
  void Start() {
    after = before = RandomNaive(RandomSizes());
    matrix = ToMatrix(before);
    dims = static_cast<int>(before.sizes.size());
    d = Random(dims);
    size = At(before.sizes, d);
    i = Random(size);
  }
  [[nodiscard]] double Old(const Coordinates& at) const { return before.cells.at(at); }
  void Expect(const Coordinates& sizes, const std::function<double(const Coordinates&)>& cell) {
    after = Make(sizes, cell);
  }
  // `f` of each cell in the run along the dimension, added up.
  static double SumAlong(int dimension, int length, const Coordinates& at,
                         const std::function<double(const Coordinates&)>& f) {
    double sum = 0.0;
    for (int k = 0; k < length; ++k) {
      sum += f(With(at, dimension, k));
    }
    return sum;
  }

  void Insert() {
    const int place = Random(dims + 1);
    Expect(Inserted(before.sizes, place, 3), [&](auto& at) { return Old(Removed(at, place)); });
    EXPECT_EQ(place == dims ? matrix.AddDimension(3) : matrix.InsertDimension(place, 3), 0);
  }
  void AddItem() {
    Expect(With(before.sizes, d, size + 1), [&](auto& at) { return At(at, d) < size ? Old(at) : 0.0; });
    EXPECT_EQ(matrix.AddItem(d), 0);
  }
  void RemoveLastItem() {
    Expect(With(before.sizes, d, std::max(size - 1, 1)), [&](auto& at) { return Old(at); });
    EXPECT_EQ(matrix.RemoveLastItem(d), size > 1 ? 0 : -2);
  }
  void Shift() {
    const bool down = Random(2) == 0;
    Expect(before.sizes, [&](auto& at) {
      const int to = At(at, d);
      const int from = down ? to + (to >= i) : to - (to > i);
      const bool isNew = down ? from == size : to == i;
      return isNew ? (down ? 0.0 : 7.5) : Old(With(at, d, from));
    });
    EXPECT_EQ(down ? matrix.ShiftItemsDown(d, i) : matrix.ShiftItemsUp(d, i, 7.5), 0);
  }
  void PermuteItems() {
    const Coordinates order = RandomOrder(size);
    Expect(before.sizes, [&](auto& at) { return Old(With(at, d, At(order, At(at, d)))); });
    EXPECT_EQ(matrix.PermuteItems(d, EitherWay(order)), 0);
  }
  void PermuteDimensions() {
    const Coordinates order = RandomOrder(dims);
    Coordinates sizes;
    for (const int old : order) {
      sizes.push_back(At(before.sizes, old));
    }
    Expect(sizes, [&](auto& at) {
      Coordinates from(at);
      for (int k = 0; k < dims; ++k) {
        from = With(from, At(order, k), At(at, k));
      }
      return Old(from);
    });
    EXPECT_EQ(matrix.PermuteDimensions(EitherWay(order)), 0);
  }
  void Reduce() {
    Expect(Removed(before.sizes, d), [&](auto& at) { return Old(Inserted(at, d, i)); });
    QVR_intArray sizes;
    QVR_doubleArray cells;
    EXPECT_EQ(matrix.SliceOut(d, i, sizes, cells), 0);
    EXPECT_EQ(matrix.Reduce(d, i), 0);
    if (dims > 1) {
      EXPECT_TRUE(matrix.HasShape(sizes.View()));
      EXPECT_TRUE(std::ranges::equal(cells.Vector(), matrix.GetItems().Vector()));
    }
  }
  void SumOutWeighted() {  // the same as the product with a vector
    QVR_Dmatrix weights = ToMatrix(RandomNaive({size}));
    Expect(Removed(before.sizes, d), [&](auto& at) {
      return SumAlong(d, size, Inserted(at, d, 0),
                      [&](auto& cell) { return Old(cell) * weights.Subscript(At(cell, d)); });
    });
    EXPECT_EQ(Random(2) == 0 ? matrix.SumOutWeighted(d, weights.GetItems())
                             : matrix.SumOutProduct(d, weights, AsList({d})),
              0);
  }
  void SumOutProduct() {  // with a matrix of all dimensions in another order
    const Coordinates order = RandomOrder(dims);
    QVR_Dmatrix other(matrix);
    EXPECT_EQ(other.PermuteDimensions(AsVector(order)), 0);
    Expect(Removed(before.sizes, d), [&](auto& at) {
      return SumAlong(d, size, Inserted(at, d, 0), [&](auto& cell) { return Old(cell) * Old(cell); });
    });
    EXPECT_EQ(matrix.SumOutProduct(d, other, EitherWay(order)), 0);
  }
  [[nodiscard]] double RunSum(const Coordinates& at) const {
    return SumAlong(dims - 1, before.sizes.back(), at, [this](auto& cell) { return Old(cell); });
  }
  void Normalize() {
    Expect(before.sizes,
           [&](auto& at) { return RunSum(at) == 0.0 ? 1.0 / before.sizes.back() : Old(at) / RunSum(at); });
    matrix.Normalize();
  }
  void CompleteColumn() {
    const int index = Random(matrix.GetNumElements());
    const Coordinates chosen = std::next(before.cells.begin(), index)->first;
    after.cells[chosen] = 1.0 - (RunSum(chosen) - Old(chosen));
    EXPECT_EQ(Random(2) == 0 ? matrix.CompleteColumn(index) : matrix.CompleteColumn(EitherWay(chosen)), 0);
  }
  void ResizeDimension() {
    Expect(With(before.sizes, d, 2), [&](auto& at) { return size == 2 ? Old(at) : 0.0; });
    EXPECT_EQ(matrix.ResizeDimension(d, 2), 0);
  }
  void Sum() {
    Expect(before.sizes, [&](auto& at) { return 2 * Old(at); });
    EXPECT_EQ(matrix.Sum(matrix, matrix), 0);
  }

  Naive before;
  Naive after;
  QVR_Dmatrix matrix;
  int dims = 0;
  int d = 0;     // a dimension,
  int size = 0;  // its size
  int i = 0;     // and an item of it
};

TEST_F(OperationTest, AgreesWithAMapFromCoordinates) {
  const std::pair<const char*, std::function<void()>> operations[] = {
      {"Insert", [this] { Insert(); }},
      {"AddItem", [this] { AddItem(); }},
      {"RemoveLastItem", [this] { RemoveLastItem(); }},
      {"Shift", [this] { Shift(); }},
      {"PermuteItems", [this] { PermuteItems(); }},
      {"PermuteDimensions", [this] { PermuteDimensions(); }},
      {"Reduce", [this] { Reduce(); }},
      {"SumOutWeighted", [this] { SumOutWeighted(); }},
      {"SumOutProduct", [this] { SumOutProduct(); }},
      {"Normalize", [this] { Normalize(); }},
      {"CompleteColumn", [this] { CompleteColumn(); }},
      {"ResizeDimension", [this] { ResizeDimension(); }},
      {"Sum", [this] { Sum(); }},
  };
  for (const auto& [name, operation] : operations) {
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
      SCOPED_TRACE(testing::Message() << name << " in round " << round);
      Start();
      operation();
      ExpectSame(matrix, after);
      const std::size_t cells = after.cells.size();  // a few stand in the matrix itself
      EXPECT_EQ(QVR_Dmatrix::MemoryInUse(),
                cells <= 4 ? 0 : static_cast<std::int64_t>(cells * sizeof(double)));
    }
  }
}

// The cells that a pattern selects, in storage order.
std::vector<double> Select(const Naive& naive, const Coordinates& pattern) {
  std::vector<double> selected;
  for (const auto& [at, x] : naive.cells) {
    if (Matches(at, pattern)) {
      selected.push_back(x);
    }
  }
  return selected;
}

TEST_F(MatrixTest, PatternsSelectTheirCells) {
  for (int round = 0; round < 4000; ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    const Coordinates sizes = RandomSizes();
    Coordinates pattern(sizes);
    for (int& place : pattern) {
      place = Random(3) == 0 ? -1 : Random(place + (Random(20) == 0 ? 1 : 0));
    }
    const Naive naive = Make(sizes, [this](const Coordinates&) { return Random(6) == 0 ? 0.0 : 1.0; });
    bool valid = true;
    Coordinates freeSizes;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      valid = valid && pattern[i] < sizes[i];
      if (pattern[i] < 0) {
        freeSizes.push_back(sizes[i]);
      }
    }
    const std::vector<double> selected = Select(naive, pattern);
    const bool allOnes = std::count(selected.begin(), selected.end(), 1.0) == std::ssize(selected);
    const auto nextCell = [&selected, next = std::size_t{0}](const Coordinates&) mutable {
      return selected[next++];
    };
    QVR_Dmatrix matrix = ToMatrix(naive);
    const QVR_intArray argument = EitherWay(pattern);
    ASSERT_EQ(matrix.AllEqual(1.0, argument), valid ? int{allOnes} : -2);
    const int last = static_cast<int>(sizes.size()) - 1;
    const int other = Random(last + 1);
    const int otherPlace = Random(At(sizes, other));
    const bool clash = other == last && otherPlace != 0;
    Coordinates two(sizes.size(), -1);
    two = With(With(two, other, otherPlace), last, 0);
    ASSERT_EQ(matrix.AllEqual(1.0, other, otherPlace, last, 0),
              clash ? -2 : matrix.AllEqual(1.0, AsVector(two)));
    ASSERT_EQ(matrix.ReduceByPattern(argument, matrix), valid ? 0 : -2);
    ExpectSame(matrix, valid ? Make(freeSizes.empty() ? Coordinates{1} : freeSizes, nextCell) : naive);
  }
}

TEST_F(MatrixTest, RefusedCallsLeaveTheMatrixAlone) {
  constexpr int kBillion = 1'000'000'000;
  QVR_Dmatrix m(AsList({2, 3}));
  QVR_Dmatrix out(AsList({5}));
  m.Fill(4.0);
  const QVR_Dmatrix before(m);
  const QVR_Dmatrix cube(AsList({2, 3, 2}));
  QVR_doubleArray weights{1.0, 2.0};
  QVR_intArray slice;
  const auto sizes = [&](Coordinates list) { return m.SetDimensions(list); };
  const std::pair<int, int> results[] = {
      {sizes({2, 0}), -2},
      {sizes({kBillion, kBillion, -1}), -2},
      {sizes({kBillion, kBillion, kBillion, kBillion}), -42},
      {sizes({1 << 14, (1 << 14) + 1}), -42},
      {m.SetDimensions(AsList({2, 2}), -1), -2},
      {m.AddDimension(kBillion), -42},
      {m.InsertDimension(3, 2), -2},
      {m.InsertDimension(0, 0), -2},
      {m.AddItem(2), -2},
      {m.AddItem(-1), -2},
      {m.ShiftItemsDown(0, 2), -2},
      {m.ShiftItemsUp(1, -1, 0.0), -2},
      {m.ResizeDimension(1, 0), -2},
      {m.ResizeDimension(1, kBillion), -42},
      {m.PermuteItems(1, AsList({0, 1, 1})), -2},
      {m.PermuteItems(1, AsList({0, 1})), -2},
      {m.PermuteDimensions(AsList({0, 0})), -2},
      {m.CompleteColumn(6), -2},
      {m.CompleteColumn(AsList({1})), -2},
      {m.Reduce(0, 2), -2},
      {m.SliceOut(0, 2, slice, weights), -2},
      {m.AllEqual(4.0, 3, 0, 1, 1), -2},
      {m.AllEqual(4.0, 0, 1, 1, 3), -2},
      {m.ReduceTo(2, 0, out), -2},
      {m.ReduceByPattern(AsList({-1}), out), -2},
      {m.SumOutWeighted(1, weights), -2},
      {m.SumOutProduct(0, cube, AsList({0, 1})), -2},     // map too short
      {m.SumOutProduct(0, cube, AsList({0, 1, 0})), -2},  // dimension named twice
      {m.SumOutProduct(0, cube, AsList({0, 1, 2})), -2},  // out of range
      {m.SumOutProduct(0, before, AsList({1, 0})), -2},   // sizes differ
      {m.SumOutProduct(0, QVR_Dmatrix(AsList({3})), AsList({1})), -2},
      {m.Sum(m, cube), -2},
  };
  for (const auto& [result, expected] : results) {
    EXPECT_EQ(result, expected) << "call " << (&result - &results[0].first) / 2;
  }
  EXPECT_EQ(m.SameShape(before), 1);
  EXPECT_EQ(m.AllEqual(4.0, AsList({-1, -1})), 1);
  EXPECT_TRUE(out.HasShape(Coordinates{5}));
}

TEST_F(MatrixTest, CeilingHoldsOverAllMatrices) {
  QVR_Dmatrix::SetMemoryCeiling(1000 * 8);
  QVR_Dmatrix first(AsList({10, 60}));
  QVR_Dmatrix second(AsList({500}));
  EXPECT_EQ(second.GetNumElements(), 0);
  EXPECT_EQ(second.SetDimensions(Coordinates{400}), 0);
  EXPECT_EQ(first.AddItem(0), -42);
  EXPECT_TRUE(first.HasShape(Coordinates{10, 60}));
  QVR_Dmatrix third(std::move(first));
  third.CleanUp();
  EXPECT_EQ(QVR_Dmatrix::MemoryInUse(), 400 * 8);
  QVR_Dmatrix::SetMemoryCeiling(std::numeric_limits<std::int64_t>::max());
  const auto work = [] {
    for (int i = 1; i < 2000; ++i) {
      QVR_Dmatrix matrix(AsVector({i % 7 + 1, 3}));
      QVR_Dmatrix copy(matrix);
      copy.AddItem(0);
      matrix = std::move(copy);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(QVR_Dmatrix::MemoryInUse(), 400 * 8);
}

TEST_F(MatrixTest, CursorVisitsTheFreeDimensionsInStorageOrder) {
  for (int round = 0; round < 500; ++round) {
    const Naive naive = RandomNaive(RandomSizes());
    QVR_Dmatrix matrix = ToMatrix(naive);
    QVR_sysCoordinates cursor(matrix);
    Coordinates fixed(naive.sizes.size(), -1);
    for (int i = 0; i < static_cast<int>(fixed.size()); ++i) {
      if (Random(3) == 0) {
        fixed = With(fixed, i, Random(At(naive.sizes, i)));
        cursor.Coordinates()[i] = At(fixed, i);
        cursor.Lock(i);
      }
    }
    QVR_intArray odometer = AsVector(Coordinates(fixed.size(), 0));
    cursor.GoFirst();
    int left = 0;
    for (const auto& [at, x] : naive.cells) {
      ASSERT_EQ(AsCoordinates(odometer), at);
      matrix.NextCoordinates(odometer);
      if (Matches(at, fixed)) {
        ASSERT_EQ(left, 0);
        ASSERT_EQ(AsCoordinates(cursor.Coordinates()), at);
        ASSERT_EQ(&cursor.CurrentValue(), matrix.CheckedSubscript(AsVector(at)));
        left = cursor.Next();
      }
    }
    ASSERT_EQ(left, -2);
    ASSERT_EQ(matrix.NextCoordinates(odometer), -2);
  }
}

TEST_F(MatrixTest, CursorRefusesWhatIsNotThere) {
  QVR_Dmatrix m(AsList({2, 3}));
  QVR_sysCoordinates cursor(m);
  EXPECT_EQ(cursor.GoTo(4), 0);
  EXPECT_EQ(AsCoordinates(cursor.Coordinates()), (Coordinates{1, 1}));
  EXPECT_EQ(cursor.GoTo(6), -2);
  EXPECT_EQ(cursor.GetCurrentPosition(), 0);
  const std::pair<Coordinates, int> positions[] = {
      {{1, 2}, 5}, {{0, 4}, 4}, {{-1, 0}, -2}, {{2, 0}, -2}, {{std::numeric_limits<int>::min(), 1}, -2}};
  for (const auto& [at, expected] : positions) {
    cursor.Coordinates().Assign(at);
    EXPECT_EQ(cursor.GoToCurrentPosition() == 0 ? cursor.GetCurrentPosition() : -2, expected);
  }
  QVR_Dmatrix empty;
  QVR_sysCoordinates unbound;
  QVR_sysCoordinates bound(empty);
  for (QVR_sysCoordinates* nowhere : {&unbound, &bound}) {
    EXPECT_EQ(nowhere->Next(), -2);
    EXPECT_EQ(nowhere->GoTo(0), -2);
    EXPECT_EQ(nowhere->GoToCurrentPosition(), -2);
    nowhere->CurrentValue() = 3.0;
    EXPECT_EQ(nowhere->CurrentValue(), 0.0);
  }
}

}  // namespace
}  // namespace qvr
