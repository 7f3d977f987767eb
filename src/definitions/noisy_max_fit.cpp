// Approximates a full table by noisy-MAX parameters: from a first guess, the change of one cell that lowers
// the squared error most is made again and again, by a step that halves when no change helps.
#include <algorithm>
#include <numeric>

#include "definitions/noisy_max.h"
#include "definitions/probability_row.h"
#include "definitions/table_expansion.h"

namespace qvr {

namespace {

constexpr double kLastStep = 0.0001;
constexpr int kMostChanges = 10000;

// One parameter row's part of the table: the cells of one outcome of a parent, or for the leak all of them.
struct Slice {
  std::vector<double> others;  // cumulative factors of all other rows, for each combination of their parents
  int block;                   // the parent's place, or -1 for the leak
  int place;                   // of its outcome
  int inner;                   // combinations of the parents behind it
};

class NoisyMaxFit {
 public:
  NoisyMaxFit(const QVR_Dmatrix& newTarget, const std::vector<int>& newBlocks, QVR_Dmatrix& newWeights)
      : target(newTarget.GetItems().Vector()),
        blocks(newBlocks),
        weights(newWeights),
        width(newWeights.GetDimension(1)) {}

  void Seed();
  void Run();

 private:
  struct Change {
    double gain = 0;
    int row = -1;
    int column = 0;
    double delta = 0;
  };

  [[nodiscard]] double* RowAt(int row) { return &weights.Subscript(row * width); }
  [[nodiscard]] int LeakRow() const { return weights.GetDimension(0) - 1; }
  [[nodiscard]] Slice SliceOf(int block, int place);
  [[nodiscard]] double Error(const Slice& slice, std::vector<double> row) const;
  [[nodiscard]] Change BestChange(double step);
  void TryRow(const Slice& slice, int row, double step, Change& best);
  void ChangeCell(double* row, int column, double delta) const;

  std::span<const double> target;
  const std::vector<int>& blocks;
  QVR_Dmatrix& weights;
  int width;
};

// What a parent does alone is read where the others stand at their first outcome; the leak, where all stand
// at the last, the distinguished one.
void NoisyMaxFit::Seed() {
  std::copy_n(target.end() - width, width, RowAt(LeakRow()));
  auto stride = static_cast<int>(target.size());
  for (int block = 0, offset = 0; block < static_cast<int>(blocks.size()); ++block) {
    const int count = blocks[static_cast<std::size_t>(block)];
    stride /= count;
    for (int place = 0; place + 1 < count; ++place) {
      std::copy_n(target.begin() + place * stride, width, RowAt(offset + place));
    }
    std::fill_n(RowAt(offset + count - 1), width, 0.0);
    RowAt(offset + count - 1)[width - 1] = 1.0;
    offset += count;
  }
}

Slice NoisyMaxFit::SliceOf(int block, int place) {
  QVR_Dmatrix factors(weights);
  for (int row = 0; row <= LeakRow(); ++row) {
    Cumulate({&factors.Subscript(row * width), static_cast<std::size_t>(width)});
  }
  Slice slice{{}, block, place, 1};
  const int own = block < 0 ? 1 : blocks[static_cast<std::size_t>(block)];
  slice.others.resize(target.size() / static_cast<std::size_t>(own));
  const double* leak = &factors.Subscript(LeakRow() * width);
  for (int j = 0; j < width; ++j) {
    slice.others[static_cast<std::size_t>(j)] = block < 0 ? 1.0 : leak[j];
  }
  const double* rows = &factors.Subscript(0);
  int tableRows = 1;
  for (int parent = 0; parent < static_cast<int>(blocks.size()); ++parent) {
    const int count = blocks[static_cast<std::size_t>(parent)];
    if (parent != block) {
      ExpandByParent(slice.others.data(), tableRows, width, count,
                     [&](const double* before, int outcome, double* after) {
                       for (int j = 0; j < width; ++j) {
                         after[j] = before[j] * rows[outcome * width + j];
                       }
                     });
      tableRows *= count;
      slice.inner *= parent > block ? count : 1;
    }
    rows += count * width;
  }
  return slice;
}

// The squared error over the slice if its row were this one.
double NoisyMaxFit::Error(const Slice& slice, std::vector<double> row) const {
  Cumulate(row);
  const int count = slice.block < 0 ? 1 : blocks[static_cast<std::size_t>(slice.block)];
  const auto combinations = static_cast<int>(slice.others.size()) / width;
  double sum = 0;
  for (int other = 0; other < combinations; ++other) {
    const int outer = other / slice.inner;
    const int tableRow = slice.block < 0 ? other : (outer * (count - 1) + slice.place) * slice.inner + other;
    const double* factors = &slice.others[static_cast<std::size_t>(other * width)];
    const double* wanted = &target[static_cast<std::size_t>(tableRow * width)];
    double next = 0;
    for (int j = width - 1; j >= 0; --j) {
      const double cumulative = factors[j] * row[static_cast<std::size_t>(j)];
      const double difference = std::max(cumulative - next, 0.0) - wanted[j];
      sum += difference * difference;
      next = cumulative;
    }
  }
  return sum;
}

// The rest of the row makes room, or takes it up, in proportion.
void NoisyMaxFit::ChangeCell(double* row, int column, double delta) const {
  const double value = row[column];
  for (int j = 0; j < width; ++j) {
    if (j != column) {
      row[j] -= value == 1.0 ? delta / (width - 1) : row[j] / (1 - value) * delta;
    }
  }
  row[column] = value + delta;
}

void NoisyMaxFit::TryRow(const Slice& slice, int row, double step, Change& best) {
  const std::vector<double> present(RowAt(row), RowAt(row) + width);
  const double presentError = Error(slice, present);
  for (int column = 0; column < width; ++column) {
    for (const double delta : {step, -step}) {
      const double value = present[static_cast<std::size_t>(column)] + delta;
      if (value > 1.0 || value < 0.0) {
        continue;
      }
      std::vector<double> trial = present;
      ChangeCell(trial.data(), column, delta);
      if (const double gain = presentError - Error(slice, std::move(trial)); gain > best.gain) {
        best = {gain, row, column, delta};
      }
    }
  }
}

NoisyMaxFit::Change NoisyMaxFit::BestChange(double step) {
  Change best;
  for (int block = 0, offset = 0; block < static_cast<int>(blocks.size()); ++block) {
    const int count = blocks[static_cast<std::size_t>(block)];
    for (int place = 0; place + 1 < count; ++place) {
      TryRow(SliceOf(block, place), offset + place, step, best);
    }
    offset += count;
  }
  TryRow(SliceOf(-1, 0), LeakRow(), step, best);
  return best;
}

void NoisyMaxFit::Run() {
  double step = 1.0 / width;
  const auto error = [this] { return Error(SliceOf(-1, 0), {RowAt(LeakRow()), RowAt(LeakRow()) + width}); };
  for (int changes = 0; step > kLastStep && changes < kMostChanges && error() > 0;) {
    const Change best = BestChange(step);
    if (best.row < 0) {
      step /= 2;
    } else {
      ChangeCell(RowAt(best.row), best.column, best.delta);
      ++changes;
    }
  }
}

}  // namespace

int QVR_noisyMAX::FitToCpt() {
  if (!expandedTable.HasShape(TableShape())) {
    return QVR_OKAY;
  }
  // All rows are made anew, so their order is free.
  for (std::vector<int>& owners : strengths) {
    std::iota(owners.begin(), owners.end(), 0);
  }
  NoisyMaxFit fit(expandedTable, blockSizes, ciWeights);
  fit.Seed();
  fit.Run();
  ParametersChanged();
  return QVR_OKAY;
}

}  // namespace qvr
