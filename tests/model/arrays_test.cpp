// Number, text and identifier arrays against plain vectors, under random sequences of operations.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <numeric>
#include <optional>
#include <random>

#include "model/identifier.h"
#include "model/metadata.h"
#include "model/number_array.h"
#include "model/status.h"
#include "model/string_array.h"

namespace qvr {
namespace {

class ArraysTest : public testing::Test {
 protected:
  int Random(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random); }
  // Now and then no permutation.
  QVR_intArray RandomOrder(int n) {
    std::vector<int> places(static_cast<std::size_t>(n));
    std::iota(places.begin(), places.end(), 0);
    std::shuffle(places.begin(), places.end(), random);
    QVR_intArray order;
    for (const int place : places) {
      order.Add(place == 1 && Random(4) == 0 ? 0 : place);
    }
    return order;
  }
  template <typename Array, typename T, typename Item>
  void ChangeBoth(Array& array, std::vector<T>& list, Item item);

  std::mt19937 random{7};
};

// The same change of an array and of the vector beside it.
template <typename Array, typename T>
void PermuteBoth(Array& array, std::vector<T>& list, const QVR_intArray& order) {
  const bool good = TestPermutation({order.begin(), order.end()}) == QVR_OKAY;
  ASSERT_EQ(array.Permute(order), good ? 0 : -2);
  const std::vector<T> old = list;
  for (int i = 0; good && i < order.GetNumItems(); ++i) {
    list[static_cast<std::size_t>(i)] = old[static_cast<std::size_t>(order[i])];
  }
}
template <typename Array, typename T>
void DeleteFromBoth(Array& array, std::vector<T>& list, int place) {
  if (place >= 0 && static_cast<std::size_t>(place) < list.size()) {
    ASSERT_EQ(array.Delete(place), 0);
    list.erase(list.begin() + place);
  }
}
template <typename Array, typename T, typename Item>
void InsertIntoBoth(Array& array, std::vector<T>& list, int place, Item item, bool valid) {
  const T copy = item != Item{} ? T(item) : T{};  // the array's own text may move
  ASSERT_EQ(array.Insert(place, item), valid ? 0 : -2);
  if (valid) {
    list.insert(list.begin() + place, copy);
  }
}

std::vector<int> Contents(const QVR_intArray& array) { return {array.begin(), array.end()}; }
std::vector<std::optional<std::string>> Contents(const QVR_stringArray& array) {
  std::vector<std::optional<std::string>> texts(static_cast<std::size_t>(array.GetNumItems()));
  for (int i = 0; i < array.GetNumItems(); ++i) {
    if (array.Get(i) != nullptr) {
      texts[static_cast<std::size_t>(i)] = array.Get(i);
    }
  }
  return texts;
}

// What all arrays do.
template <typename Array, typename T, typename Item>
void ArraysTest::ChangeBoth(Array& array, std::vector<T>& list, Item item) {
  const int n = static_cast<int>(list.size());
  const int place = Random(n + 2) - 1;
  switch (Random(n > 40 ? 7 : 5)) {
    case 0:
    case 1:
      return InsertIntoBoth(array, list, place, item, place >= 0);
    case 2:
      return PermuteBoth(array, list, RandomOrder(n));
    case 3: {
      const Array moved(std::move(array));
      ASSERT_EQ(array.Copy(moved), 0);  // NOLINT(bugprone-use-after-move): it is empty, and may be used
      return;
    }
    default:
      return DeleteFromBoth(array, list, place);
  }
}

TEST_F(ArraysTest, NumberListsAgreeWithVectors) {
  QVR_intArray array;
  std::vector<int> list;
  for (int step = 0; step < 50000; ++step) {
    const int x = Random(20);
    const auto found = std::find(list.begin(), list.end(), x);
    const bool has = found != list.end();
    const int choice = Random(7);
    if (choice == 0) {
      ASSERT_EQ(array.AddUnique(x), has ? -2 : 0);
      list.insert(list.end(), has ? 0 : 1, x);
    } else if (choice == 1) {
      ASSERT_EQ(array.DeleteValue(x), has ? 0 : -2);
      list.erase(found, has ? found + 1 : found);
    } else if (choice == 2) {
      QVR_intArray other{1, 2, 3};
      array.Swap(other);  // inline against heap and back
      ASSERT_EQ(array.GetNumItems(), 3);
      array.Swap(other);
    } else {
      ChangeBoth(array, list, x);
    }
    ASSERT_EQ(Contents(array), list) << "step " << step;
    ASSERT_EQ(array.Find(x) < 0, std::find(list.begin(), list.end(), x) == list.end());
  }
}

TEST_F(ArraysTest, NumberVectors) {
  QVR_doubleArray a;
  ASSERT_EQ(a.SetSize(8), 0);
  a.Add(1.0);
  a.Add(2.0);
  EXPECT_EQ(a.Delete(5), 0);  // within the size, behind the list
  EXPECT_EQ(a.GetNumItems(), 1);
  EXPECT_EQ(a.Delete(8), -2);
  a.Flush();
  EXPECT_EQ(a.Delete(0), 0);
  EXPECT_EQ(a.GetNumItems(), 0);
  EXPECT_EQ(a[0], 1.0);
  EXPECT_EQ(a.SetSize(8), 0);
  EXPECT_EQ(a[0], 1.0);  // the same size keeps the elements
  EXPECT_EQ(a.SetSize(9), 0);
  EXPECT_EQ(a[0], 0.0);
  EXPECT_EQ(a.Reset(3), 0);
  EXPECT_EQ(a.GetSize(), 9);
  EXPECT_EQ(a.SetSize(-1), -2);
  a[7] = 7.0;
  EXPECT_EQ(a.Assign(a.Vector().subspan(7)), 0);
  EXPECT_EQ(a.GetSize(), 2);
  EXPECT_EQ(a[0], 7.0);
}

// The names that random tests draw from: invalid, empty, and such that generated numbers collide.
const char* const kNames[] = {"a", "a1", "a2", "a12", "b", "b3", "_c", "1d", "", "e f", "x", "x0", "@g"};

TEST_F(ArraysTest, TextListsAgreeWithVectors) {
  QVR_stringArray array(3);
  std::vector<std::optional<std::string>> list;
  for (int step = 0; step < 20000; ++step) {
    const int n = static_cast<int>(list.size());
    const char* const text = n > 0 && Random(2) == 0 ? array.Get(Random(n)) : kNames[Random(13)];
    if (n > 0 && Random(5) == 0) {
      const int place = Random(n);
      const char* const given = Random(5) == 0 ? nullptr : text;
      list[static_cast<std::size_t>(place)] =
          given != nullptr ? std::optional<std::string>(given) : std::nullopt;
      ASSERT_EQ(array.SetItem(place, given), 0);
    } else {
      ChangeBoth(array, list, text);
    }
    ASSERT_EQ(Contents(array), list);
    const auto found = std::find(list.begin(), list.end(), "a");
    ASSERT_EQ(array.Find("a"), found == list.end() ? -2 : static_cast<int>(found - list.begin()));
  }
}

TEST_F(ArraysTest, TextsBehindTheListAreNotLost) {
  QVR_stringArray array;
  array.SetSize(4);
  array.SetItem(2, "spare");
  array.Add("first");
  EXPECT_STREQ(array.Get(2), "spare");
  EXPECT_EQ(array.Delete(2), 0);  // the spare text, and the list's last item
  EXPECT_EQ(array.Get(2), nullptr);
  EXPECT_EQ(array.GetNumItems(), 0);
  EXPECT_EQ(array.Get(0), nullptr);
  EXPECT_EQ(array.Get(4), nullptr);
  EXPECT_EQ(array.SetItem(4, "x"), -2);
}

// What the identifier array answers, worked out by scanning.
struct NaiveIds {
  std::vector<std::string> list;
  bool allowEmpty;

  [[nodiscard]] bool IsFree(const std::string& text) const {
    return std::find(list.begin(), list.end(), text) == list.end();
  }
  [[nodiscard]] bool IsValid(const std::string& text) const {
    return text.empty() ? allowEmpty : IsPlainIdentifier(text) && IsFree(text);
  }
  [[nodiscard]] std::string MakeUnique(std::string base, int first) const {
    base = base.empty() ? "x" : base;
    MakeValidIdentifier(base);
    if (first < 0 && IsFree(base)) {
      return base;
    }
    int number = std::max(first, 0);
    while (!IsFree(base + std::to_string(number))) {
      ++number;
    }
    return base + std::to_string(number);
  }
};

void SetInBoth(QVR_idArray& array, NaiveIds& naive, int place, const std::string& name) {
  NaiveIds others = naive;
  others.list.erase(others.list.begin() + place);
  ASSERT_EQ(array.SetItem(place, name.c_str()), others.IsValid(name) ? 0 : -2);
  if (others.IsValid(name)) {
    naive.list[static_cast<std::size_t>(place)] = name;
  }
}

TEST_F(ArraysTest, IdentifiersAgreeWithScans) {
  for (const bool allowEmpty : {false, true}) {
    QVR_idArray array(allowEmpty);
    NaiveIds naive{{}, allowEmpty};
    for (int step = 0; step < 20000; ++step) {
      const int n = array.GetNumItems();
      const int place = Random(n + 1);
      const std::string name = kNames[Random(13)];
      const int first = Random(6) - 2;
      const std::string unique = naive.MakeUnique(name, first);
      ASSERT_EQ(array.MakeUniqueId(name.c_str(), first), unique) << "step " << step;
      switch (Random(n > 60 ? 9 : 6)) {
        case 0:
          InsertIntoBoth(array, naive.list, place, name.c_str(), naive.IsValid(name));
          break;
        case 1:
          array.InsertUniqueId(name.c_str(), first, place);
          naive.list.insert(naive.list.begin() + place, unique);
          break;
        case 2:
        case 3:
          array.AddUniqueId(name.c_str(), first);
          naive.list.push_back(unique);
          break;
        case 4:
          if (place < n) {
            SetInBoth(array, naive, place, name);
          }
          break;
        default:
          DeleteFromBoth(array, naive.list, place);
      }
      const auto found = std::find(naive.list.begin(), naive.list.end(), name);
      ASSERT_EQ(array.FindId(name), found == naive.list.end() ? -2 : found - naive.list.begin());
      array.CheckConsistency(0);
      ASSERT_TRUE(array.IsConsistent());
    }
  }
}

TEST_F(ArraysTest, RepairOfIdentifiers) {
  QVR_idArray ids;
  QVR_stringArray texts;
  for (const char* const text : {"a", "a", "1d", "", "b", "a", "a2", "e f"}) {
    texts.Add(text);
  }
  texts.Insert(4, nullptr);
  ASSERT_EQ(ids.Copy(texts), 0);
  ids.CheckConsistency(0);
  EXPECT_FALSE(ids.IsConsistent());
  ASSERT_EQ(ids.MakeAllValid(), 0);
  const char* const expected[] = {"a", "a2", "x1d", "x2", "x3", "b", "a3", "a22", "e_f"};
  for (int i = 0; i < 9; ++i) {
    EXPECT_STREQ(ids.Get(i), expected[i]);
  }
  ids.CheckConsistency(0);
  EXPECT_TRUE(ids.IsConsistent());
}

TEST_F(ArraysTest, ManyEqualNamesTakeLinearTime) {
  constexpr int kMany = 100000;
  QVR_stringArray texts;
  for (int i = 0; i < kMany; ++i) {
    texts.Add("State");
  }
  QVR_idArray ids;
  ids.Copy(texts);
  const std::clock_t start = std::clock();  // of this process alone, however busy the machine
  ASSERT_EQ(ids.MakeAllValid(), 0);
  for (int i = 0; i < kMany; ++i) {
    ids.AddUniqueId("State", 0);
  }
  ids.CheckConsistency(0);
  EXPECT_TRUE(ids.IsConsistent());
  EXPECT_EQ(ids.FindId("State100000"), kMany - 1);
  EXPECT_STREQ(ids.Get(kMany + 2), "State100001");  // behind State0 and State1
  EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 8);
}

TEST_F(ArraysTest, SettingUserProperties) {
  // From a, b, c: where the pair goes, its name, the result, and the names afterwards.
  const struct {
    int position;
    const char* name;
    int status;
    const char* names;
  } cases[] = {{1, "b", 0, "abc"},  {0, "c", 0, "cab"},   {2, "a", 0, "bac"},  {3, "a", 0, "bca"},
               {4, "a", -2, "abc"}, {-1, "a", -2, "abc"}, {3, "d", 0, "abcd"}, {0, "d", 0, "dabc"},
               {4, "d", -2, "abc"}, {0, "1", -2, "abc"}};
  for (const auto& c : cases) {
    QVR_userProperties properties;
    for (const char* const name : {"a", "b", "c"}) {
      properties.Add(name, "old");
    }
    EXPECT_EQ(properties.Set(c.position, c.name, "new"), c.status);
    std::string names;
    for (int i = 0; i < properties.GetCount(); ++i) {
      names += properties.GetName(i);
      EXPECT_STREQ(properties.GetValue(i),
                   c.status == 0 && names.substr(names.size() - 1) == c.name ? "new" : "old");
    }
    EXPECT_EQ(names, c.names) << c.position << c.name;
    EXPECT_STREQ(properties.GetValue(9), "");
  }
}

}  // namespace
}  // namespace qvr
