#include "model/network.h"

#include <new>
#include <stdexcept>

#include "model/dynamic_extension.h"
#include "model/error_log.h"

namespace qvr {

QVR_network::QVR_network() { Initialize(kDefaultTableSize, kDefaultTableSize); }

QVR_network::~QVR_network() = default;

int QVR_network::Initialize(int initialSize, int newDelta) {
  CleanUp(1);
  SetReady(false);
  delta = newDelta < 1 ? kDefaultTableSize : newDelta;
  try {
    nodes.resize(static_cast<std::size_t>(initialSize < 1 ? kDefaultTableSize : initialSize));
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  } catch (const std::length_error&) {
    return QVR_OUT_OF_MEMORY;
  }
  if (int status = submodels.Initialize(this); status < 0) {
    return status;
  }
  CheckReady(0);
  return QVR_OKAY;
}

void QVR_network::CleanUp(int deep) {
  EraseNodes();
  nodes = std::vector<QVR_nodeEntry>();
  delta = kDefaultTableSize;
  loadFlags = 0;
  static_cast<NetworkOptions&>(*this) = NetworkOptions();
  static_cast<SolverSettings&>(*this) = SolverSettings();
  if (deep != 0) {
    creation.CleanUp(deep);
    userProperties.CleanUp(deep);
    documentation.CleanUp(deep);
    submodels.Initialize(this);
  }
  QVR_object::CleanUp(deep);
}

void QVR_network::EraseNodes() {
  dynamicExtension.reset();
  for (QVR_nodeEntry& entry : nodes) {
    entry = QVR_nodeEntry();
  }
  ids.Clear();
  cases.Clear();
  topologicalOrder.CleanUp();
  numNodes = 0;
  lowestFree = 0;
  targetCount = 0;
  plateCount = 0;
  valuesInUse = false;
}

void QVR_network::PrepareForLoad() {
  EraseNodes();
  submodels.Reset();
  creation.CleanUp(1);
  userProperties.CleanUp(1);
  documentation.CleanUp(1);
  // The other options stay until the file states them.
  const NetworkOptions defaults;
  sampleCount = defaults.sampleCount;
  discSamples = defaults.discSamples;
  rejectOutliers = defaults.rejectOutliers;
  reservedMode = defaults.reservedMode;
}

void QVR_network::CheckReady(int deep) {
  if (deep != 0) {
    creation.CheckReady(deep);
    userProperties.CheckReady(deep);
    submodels.CheckReady(deep);
  }
  std::vector<int> unready;
  for (int handle = FirstNode(); handle >= 0; handle = NextNode(handle)) {
    QVR_node& node = *Entry(handle).node;
    if (deep != 0) {
      node.CheckReady(deep);
    }
    if (!node.IsReady()) {
      unready.push_back(handle);
    }
  }
  bool allDeleted = true;
  for (int handle : unready) {
    allDeleted = DeleteNode(handle) == QVR_OKAY && allDeleted;
  }
  SetReady(allDeleted);
}

void QVR_network::CheckConsistency(int deep) {
  if (deep != 0) {
    creation.CheckConsistency(deep);
    userProperties.CheckConsistency(deep);
    submodels.CheckConsistency(deep);
  }
  SetConsistent(creation.IsConsistent() && userProperties.IsConsistent() && submodels.IsConsistent());
  bool reported = false;
  for (int handle = FirstNode(); handle >= 0; handle = NextNode(handle)) {
    QVR_node& node = *Entry(handle).node;
    if (deep != 0) {
      node.CheckConsistency(deep);
    }
    if (!node.IsConsistent() && !reported) {
      GetErrorLog().Log(QVR_INCONSISTENT,
                        "ERROR: Node [" + node.GetId() + "] is not consistent. Inference may not be correct");
      reported = true;
    }
  }
  if (reported) {
    SetConsistent(false);
  }
}

void QVR_network::SetBeliefAlgorithm(int id) {
  if (id >= ALG_JOIN_TREE && id <= ALG_RELEVANCE_HALVING) {
    beliefAlgorithm = id;
  }
}

void QVR_network::SetHybridAlgorithm(int id) {
  if (id >= 13 && id <= 16) {
    hybridAlgorithm = id;
  }
}

void QVR_network::SetDecisionAlgorithm(int id) {
  if (id == DECISION_COOPER || id == DECISION_SHACHTER) {
    decisionAlgorithm = id;
  }
}

int QVR_network::SetEpisParameters(const EpisParameters& record) {
  const bool ordered = record.propLength >= 1 && record.numStates1 < record.numStates2 &&
                       record.numStates2 < record.numStates3 && record.eps1 >= record.eps2 &&
                       record.eps2 >= record.eps3;
  if (!ordered) {
    return QVR_OUT_OF_RANGE;
  }
  episParameters = record;
  return QVR_OKAY;
}

int QVR_network::SetAdaptationParameters(const AdaptationParameters& record) {
  // Written so that a value that is no number fails.
  const bool valid = record.rate >= 0.5 && record.rate <= 0.99 && record.step > 0 && record.floor > 0 &&
                     record.maximum > 0 && record.maximum > record.step && record.first >= 1 &&
                     record.second >= 1 && record.third >= record.second;
  if (!valid) {
    return QVR_OUT_OF_RANGE;
  }
  adaptationParameters = record;
  return QVR_OKAY;
}

int QVR_network::SetSamplingPasses(int passes) {
  if (passes < 1) {
    return QVR_OUT_OF_RANGE;
  }
  samplingPasses = passes;
  return QVR_OKAY;
}

}  // namespace qvr
