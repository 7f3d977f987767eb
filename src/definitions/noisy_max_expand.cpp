// The full table of a noisy-MAX node, and what can be said of it without making it.
#include <algorithm>
#include <functional>
#include <utility>

#include "definitions/noisy_max.h"
#include "definitions/probability_row.h"
#include "definitions/table_expansion.h"

namespace qvr {

int QVR_noisyMAX::ExpandToCpt() {
  if (int status = ShapeExpandedTable(); status < 0) {
    return status;
  }
  // A scratch copy, cumulated and with each block in the order of the parent's outcomes.
  QVR_Dmatrix factors;
  if (int status = factors.Copy(ciWeights); status < 0) {
    expandedTable.CleanUp();
    return status;
  }
  const int width = ColumnCount();
  double* const rows = factors.GetItems().Vector().data();
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    const std::vector<int>& owners = GetStrengths(parent);
    for (std::size_t place = 0; place < owners.size(); ++place) {
      std::copy_n(Row(offset + static_cast<int>(place)).data(), width,
                  rows + (offset + owners[place]) * width);
    }
    offset += static_cast<int>(owners.size());
  }
  for (int row = 0; row < RowCount(); ++row) {
    Cumulate({rows + row * width, static_cast<std::size_t>(width)});
  }

  double* const cells = expandedTable.GetItems().Vector().data();
  std::copy_n(rows + (RowCount() - 1) * width, width, cells);
  const double* block = rows;
  int tableRows = 1;
  for (const int count : blockSizes) {
    ExpandByParent(cells, tableRows, width, count, [=](const double* before, int outcome, double* after) {
      for (int j = 0; j < width; ++j) {
        after[j] = before[j] * block[outcome * width + j];
      }
    });
    tableRows *= count;
    block += count * width;
  }
  for (int row = 0; row < tableRows; ++row) {
    Difference({cells + row * width, static_cast<std::size_t>(width)});
  }
  upToDate = true;
  return QVR_OKAY;
}

double QVR_noisyMAX::CumulativeAt(int row, int outcome) const {
  const std::span<const double> cells = Row(row);
  double sum = cells.back();
  for (int j = ColumnCount() - 2; j >= outcome; --j) {
    sum = std::max(cells[static_cast<std::size_t>(j)] + sum, 0.0);
  }
  return sum;
}

QVR_noisyMAX::RowRange QVR_noisyMAX::SelectedRows(int parentIndex, int offset, int outcome) const {
  return outcome < 0 ? RowRange{offset, blockSizes[static_cast<std::size_t>(parentIndex)]}
                     : RowRange{offset + PlaceOfOutcome(parentIndex, outcome), 1};
}

bool QVR_noisyMAX::IsPattern(std::span<const int> pattern) const {
  return static_cast<int>(pattern.size()) == ParentCount() + 1 && pattern.back() < ColumnCount() &&
         std::equal(blockSizes.begin(), blockSizes.end(), pattern.begin(), std::greater<>());
}

int QVR_noisyMAX::AllCellsEqual(double x, std::span<const int> pattern) {
  if (!IsPattern(pattern)) {
    return QVR_OUT_OF_RANGE;
  }
  // What the parameters say is exact for probabilities; of other numbers only the table knows.
  if (!IsConsistent() || pattern.back() < 0 || (x != 0.0 && x != 1.0)) {
    return QVR_ciDefinition::AllCellsEqual(x, pattern);
  }
  return (x == 0.0 ? IsRuledOut(pattern) : IsForced(pattern)) ? 1 : 0;
}

QVR_noisyMAX::Effect QVR_noisyMAX::EffectOf(RowRange rows, int outcome) const {
  Effect effect = {false, false};
  for (int row = rows.first; row < rows.first + rows.count && !effect.falls; ++row) {
    const double factor = CumulativeAt(row, outcome);
    effect.possible = effect.possible || factor > 0;
    effect.falls = factor > 0 && (outcome == ColumnCount() - 1 || factor > CumulativeAt(row, outcome + 1));
  }
  return effect;
}

// A cell is the product of the cumulative factors at its outcome, less that at the next. It is 0 just when
// some factor at the outcome is 0, or no factor falls from the outcome to the next. So all selected cells
// are unless every parent has a row with a factor above 0, and with one of these, or the leak, it falls.
bool QVR_noisyMAX::IsRuledOut(std::span<const int> pattern) const {
  const int outcome = pattern.back();
  const Effect leak = EffectOf({RowCount() - 1, 1}, outcome);
  bool possible = leak.possible;
  bool anyFalls = leak.falls;
  for (int parent = 0, offset = 0; parent < ParentCount() && possible; ++parent) {
    const Effect effect =
        EffectOf(SelectedRows(parent, offset, pattern[static_cast<std::size_t>(parent)]), outcome);
    possible = effect.possible;
    anyFalls = anyFalls || effect.falls;
    offset += blockSizes[static_cast<std::size_t>(parent)];
  }
  return !possible || !anyFalls;
}

// As IsRuledOut for each outcome of each parent, with the effects of all other parents only counted.
std::vector<int> QVR_noisyMAX::OnlyPossibleOutcomes(std::vector<int> pattern, std::span<const int> counts) {
  if (!IsPattern(pattern) || !IsConsistent() || pattern.back() < 0 || counts.size() != blockSizes.size()) {
    return QVR_ciDefinition::OnlyPossibleOutcomes(std::move(pattern), counts);
  }
  const int outcome = pattern.back();
  int impossible = 0;
  int falling = 0;
  const auto count = [&](const Effect& effect, int sign) {
    impossible += effect.possible ? 0 : sign;
    falling += effect.falls ? sign : 0;
  };
  const auto effectOf = [&](int parent, int offset) {
    return EffectOf(SelectedRows(parent, offset, pattern[static_cast<std::size_t>(parent)]), outcome);
  };
  count(EffectOf({RowCount() - 1, 1}, outcome), 1);
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    count(effectOf(parent, offset), 1);
    offset += blockSizes[static_cast<std::size_t>(parent)];
  }
  std::vector<int> found(counts.size(), QVR_OUT_OF_RANGE);
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    const auto place = static_cast<std::size_t>(parent);
    if (counts[place] > 0) {
      count(effectOf(parent, offset), -1);
      int possible = 0;
      for (int row = 0; row < blockSizes[place]; ++row) {
        const Effect own = EffectOf({offset + row, 1}, outcome);
        if (impossible == 0 && own.possible && (own.falls || falling > 0)) {
          found[place] = ++possible == 1 ? strengths[place][static_cast<std::size_t>(row)] : QVR_OUT_OF_RANGE;
        }
      }
      pattern[place] = -1;
      count(effectOf(parent, offset), 1);
    }
    offset += blockSizes[place];
  }
  return found;
}

// A cell is 1 just when all factors are 1 at its outcome and one of them is 0 at the next. All selected
// cells are if the former holds for every row, and the latter for the leak or all rows of one parent.
bool QVR_noisyMAX::IsForced(std::span<const int> pattern) const {
  const int outcome = pattern.back();
  const auto ends = [&](int row) {
    return outcome == ColumnCount() - 1 || CumulativeAt(row, outcome + 1) == 0;
  };
  const int leak = RowCount() - 1;
  if (CumulativeAt(leak, outcome) != 1.0) {
    return false;
  }
  bool anyEnds = ends(leak);
  for (int parent = 0, offset = 0; parent < ParentCount(); ++parent) {
    const RowRange rows = SelectedRows(parent, offset, pattern[static_cast<std::size_t>(parent)]);
    bool allEnd = true;
    for (int row = rows.first; row < rows.first + rows.count; ++row) {
      if (CumulativeAt(row, outcome) != 1.0) {
        return false;
      }
      allEnd = allEnd && ends(row);
    }
    anyEnds = anyEnds || allEnd;
    offset += blockSizes[static_cast<std::size_t>(parent)];
  }
  return anyEnds;
}

}  // namespace qvr
