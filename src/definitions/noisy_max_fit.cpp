// Approximates a full table by noisy-MAX parameters: from a first guess, the change of one cell that lowers
// the squared error most is made again and again, by a step that halves when no change helps.
#include <algorithm>
#include <array>
#include <numeric>

#include "definitions/noisy_max.h"
#include "definitions/probability_row.h"
#include "definitions/table_expansion.h"

namespace qvr {

namespace {

constexpr double kLastStep = 0.0001;
constexpr int kMostChanges = 10000;
constexpr double kRounding = 1e-12;

// One parameter row's part of the table: the cells of one outcome of a parent, or for the leak all of them.
struct Slice {
  int block;         // the parent's place, or -1 for the leak
  int place;         // of its outcome
  int inner;         // combinations of the parents behind it
  int combinations;  // of all other parents
};

class NoisyMaxFit {
 public:
  NoisyMaxFit(const QVR_Dmatrix& newTarget, const std::vector<int>& newBlocks, QVR_Dmatrix& newWeights)
      : target(newTarget.GetItems().Vector()),
        blocks(newBlocks),
        weights(newWeights),
        width(newWeights.GetDimension(1)) {}

  // All the room that the fit takes: -42 leaves the weights alone.
  int MakeRoom();
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
  [[nodiscard]] double Error(const Slice& slice, std::span<const double> row);
  [[nodiscard]] Change BestChange(double step);
  void TryRow(const Slice& slice, int row, double step, Change& best);
  void ChangeCell(double* row, int column, double delta) const;

  std::span<const double> target;
  const std::vector<int>& blocks;
  QVR_Dmatrix& weights;
  int width;
  QVR_Dmatrix factors;  // the weights, cumulated
  QVR_Dmatrix
      others;  // cumulative factors of all rows but the slice's, for each combination of their parents
  QVR_doubleArray trial;
  QVR_doubleArray cumulated;
};

int NoisyMaxFit::MakeRoom() {
  if (int status = factors.Copy(weights); status < 0) {
    return status;
  }
  if (int status = others.SetDimensions(std::array{static_cast<int>(target.size())}); status < 0) {
    return status;
  }
  const int status = trial.SetSize(width);
  return status < 0 ? status : cumulated.SetSize(width);
}

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
  factors.GetItems().CopyPrefix(weights.GetItems());
  for (int row = 0; row <= LeakRow(); ++row) {
    Cumulate({&factors.Subscript(row * width), static_cast<std::size_t>(width)});
  }
  Slice slice{block, place, 1, 1};
  double* const cells = &others.Subscript(0);
  const double* leak = &factors.Subscript(LeakRow() * width);
  for (int j = 0; j < width; ++j) {
    cells[j] = block < 0 ? 1.0 : leak[j];
  }
  const double* rows = &factors.Subscript(0);
  for (int parent = 0; parent < static_cast<int>(blocks.size()); ++parent) {
    const int count = blocks[static_cast<std::size_t>(parent)];
    if (parent != block) {
      ExpandByParent(cells, slice.combinations, width, count,
                     [&](const double* before, int outcome, double* after) {
                       for (int j = 0; j < width; ++j) {
                         after[j] = before[j] * rows[outcome * width + j];
                       }
                     });
      slice.combinations *= count;
      slice.inner *= parent > block ? count : 1;
    }
    rows += count * width;
  }
  return slice;
}

// The squared error over the slice if its row were this one.
double NoisyMaxFit::Error(const Slice& slice, std::span<const double> row) {
  double* const ownFactors = &cumulated[0];
  std::copy(row.begin(), row.end(), ownFactors);
  Cumulate(cumulated.Vector());
  const int count = slice.block < 0 ? 1 : blocks[static_cast<std::size_t>(slice.block)];
  double sum = 0;
  for (int other = 0; other < slice.combinations; ++other) {
    const int outer = other / slice.inner;
    const int tableRow = slice.block < 0 ? other : (outer * (count - 1) + slice.place) * slice.inner + other;
    const double* otherFactors = &others.Subscript(other * width);
    const double* wanted = &target[static_cast<std::size_t>(tableRow * width)];
    double next = 0;
    for (int j = width - 1; j >= 0; --j) {
      const double cumulative = otherFactors[j] * ownFactors[j];
      const double difference = std::max(cumulative - next, 0.0) - wanted[j];
      sum += difference * difference;
      next = cumulative;
    }
  }
  return sum;
}

// The rest of the row makes room, or takes it up, in proportion; in equal parts where it's no more than
// rounding has left.
void NoisyMaxFit::ChangeCell(double* row, int column, double delta) const {
  const double rest = std::accumulate(row + column + 1, row + width, std::accumulate(row, row + column, 0.0));
  for (int j = 0; j < width; ++j) {
    if (j != column) {
      const double share = rest > kRounding ? row[j] / rest : 1.0 / (width - 1);
      row[j] = std::max(row[j] - share * delta, 0.0);
    }
  }
  row[column] += delta;
}

void NoisyMaxFit::TryRow(const Slice& slice, int row, double step, Change& best) {
  const std::span<const double> present(RowAt(row), static_cast<std::size_t>(width));
  const double presentError = Error(slice, present);
  for (int column = 0; column < width; ++column) {
    for (const double delta : {step, -step}) {
      const double value = present[static_cast<std::size_t>(column)] + delta;
      if (value > 1.0 || value < 0.0) {
        continue;
      }
      std::copy(present.begin(), present.end(), trial.Vector().begin());
      ChangeCell(&trial[0], column, delta);
      if (const double gain = presentError - Error(slice, trial.Vector()); gain > best.gain) {
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
  const auto error = [this] {
    return Error(SliceOf(-1, 0), {RowAt(LeakRow()), static_cast<std::size_t>(width)});
  };
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
  upToDate = false;
  NoisyMaxFit fit(expandedTable, blockSizes, ciWeights);
  if (int status = fit.MakeRoom(); status < 0) {
    return status;
  }
  // All rows are made anew, so their order is free.
  for (std::vector<int>& owners : strengths) {
    std::iota(owners.begin(), owners.end(), 0);
  }
  fit.Seed();
  fit.Run();
  ParametersChanged();
  return QVR_OKAY;
}

}  // namespace qvr
