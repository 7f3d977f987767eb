// The one place that knows all classes of definitions and values.
#include <memory>
#include <new>

#include "definitions/cast.h"
#include "definitions/cpt.h"
#include "definitions/def_continuous.h"
#include "definitions/def_dchild_hparent.h"
#include "definitions/demorgan.h"
#include "definitions/equation.h"
#include "definitions/equation_scc.h"
#include "definitions/list.h"
#include "definitions/mau.h"
#include "definitions/noisy_adder.h"
#include "definitions/noisy_max.h"
#include "definitions/truth_table.h"
#include "definitions/utility_table.h"
#include "model/network.h"
#include "model/node.h"
#include "values/belief_vector.h"
#include "values/continuous_value.h"
#include "values/eq_evaluation.h"
#include "values/expected_utility.h"
#include "values/list_of_decisions.h"
#include "values/mau_expected_utility.h"

namespace qvr {

namespace {

using DefinitionPointer = std::unique_ptr<QVR_nodeDefinition>;
using ValuePointer = std::unique_ptr<QVR_nodeValue>;

// The copiers clone member by member: the argument is of their class.
struct DefinitionClass {
  int type;
  DefinitionPointer (*make)(QVR_network*, int);
  DefinitionPointer (*copy)(const QVR_nodeDefinition&);
  int valueType;
};

struct ValueClass {
  int type;
  ValuePointer (*make)(QVR_network*, int);
  ValuePointer (*copy)(const QVR_nodeValue&);
};

template <typename Class, typename Base>
std::unique_ptr<Base> Make(QVR_network* network, int handle) {
  return std::make_unique<Class>(network, handle);
}

template <typename Class, typename Base>
std::unique_ptr<Base> Clone(const Base& other) {
  return std::make_unique<Class>(static_cast<const Class&>(other));
}

template <typename Class>
constexpr DefinitionClass DefinitionRow(int type, int valueType) {
  return {type, &Make<Class, QVR_nodeDefinition>, &Clone<Class, QVR_nodeDefinition>, valueType};
}

template <typename Class>
constexpr ValueClass ValueRow(int type) {
  return {type, &Make<Class, QVR_nodeValue>, &Clone<Class, QVR_nodeValue>};
}

constexpr DefinitionClass kDefinitionClasses[] = {
    DefinitionRow<QVR_table>(kTypeTable, kValueExpectedUtility),
    DefinitionRow<QVR_list>(kTypeList, kValueListOfDecisions),
    DefinitionRow<QVR_cpt>(kTypeCpt, kValueBeliefVector),
    DefinitionRow<QVR_truthTable>(kTypeTruthTable, kValueBeliefVector),
    DefinitionRow<QVR_cast>(kTypeCast, kValueBeliefVector),
    DefinitionRow<QVR_demorgan>(kTypeDeMorgan, kValueBeliefVector),
    DefinitionRow<QVR_noisyMAX>(kTypeNoisyMax, kValueBeliefVector),
    DefinitionRow<QVR_noisyAdder>(kTypeNoisyAdder, kValueBeliefVector),
    DefinitionRow<QVR_mau>(kTypeMau, kValueMauExpectedUtility),
    DefinitionRow<QVR_equation>(kTypeEquation, kValueEqEvaluation),
    DefinitionRow<QVR_equationSCC>(kTypeEquationScc, kValueEqEvaluation),
    DefinitionRow<QVR_defDchildHparent>(kTypeDChildHParent, kValueBeliefVector),
    DefinitionRow<QVR_defDistribution>(kTypeDistribution, kValueContinuous),
    DefinitionRow<QVR_defHEquation>(kTypeHEquation, kValueContinuous),
};

constexpr ValueClass kValueClasses[] = {
    ValueRow<QVR_beliefVector>(kValueBeliefVector),
    ValueRow<QVR_expectedUtility>(kValueExpectedUtility),
    ValueRow<QVR_listOfDecisions>(kValueListOfDecisions),
    ValueRow<QVR_mauExpectedUtility>(kValueMauExpectedUtility),
    ValueRow<QVR_valEqEvaluation>(kValueEqEvaluation),
    ValueRow<QVR_valcontinuous>(kValueContinuous),
};

const DefinitionClass* FindDefinitionClass(int type) {
  for (const DefinitionClass& known : kDefinitionClasses) {
    if (known.type == type) {
      return &known;
    }
  }
  return nullptr;
}

const ValueClass* FindValueClass(int type) {
  for (const ValueClass& known : kValueClasses) {
    if (known.type == type) {
      return &known;
    }
  }
  return nullptr;
}

const QVR_node* OwnerOf(const QVR_nodeDefinition& definition) {
  const QVR_network* network = definition.GetNetwork();
  return network != nullptr ? network->NodeAt(definition.GetHandle()) : nullptr;
}

}  // namespace

int QVR_node::CreateDefinition(int type) {
  const DefinitionClass* known = FindDefinitionClass(type);
  if (known == nullptr && type != kTypeNone) {
    return QVR_OUT_OF_RANGE;
  }
  const bool replaces = definition != nullptr && network != nullptr;
  const int oldType = GetType();
  const int oldCount = GetNumberOfOutcomes();
  if (replaces) {
    DropParentsNotTakenBy(type);
  }
  definition.reset();
  try {
    if (known != nullptr) {
      definition = known->make(network, handle);
    }
    if (!extra) {
      extra = std::make_unique<QVR_extraDefinition>(network, handle);
    }
    FitExtra();
  } catch (const std::bad_alloc&) {
    definition.reset();
    return QVR_OUT_OF_MEMORY;
  }
  if (definition && network != nullptr && !definition->IsReady()) {
    definition.reset();  // its table found no memory
    return QVR_OUT_OF_MEMORY;
  }
  if (replaces) {
    if (definition) {
      definition->RebuildFromNetwork();
    }
    UpdateChildren(oldType, oldCount);
  }
  return QVR_OKAY;
}

int QVR_node::CreateValue(int type) {
  const DefinitionClass* definitionClass = FindDefinitionClass(type);
  if (definitionClass == nullptr && type != kTypeNone) {
    return QVR_OUT_OF_RANGE;
  }
  value.reset();
  if (definitionClass == nullptr) {
    return QVR_OKAY;
  }
  try {
    value = FindValueClass(definitionClass->valueType)->make(network, handle);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  if (!value->IsReady()) {
    value.reset();  // its table found no memory
    return QVR_OUT_OF_MEMORY;
  }
  return QVR_OKAY;
}

int QVR_node::CopyDefinition(const QVR_nodeDefinition& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (&other == definition.get()) {
    return QVR_OKAY;
  }
  const DefinitionClass* known = FindDefinitionClass(other.GetType());
  if (known == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  DefinitionPointer copy;
  try {
    copy = known->copy(other);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  copy->SetOwner(network, handle);
  if (!StandsInTable()) {
    definition = std::move(copy);
    return QVR_OKAY;
  }
  const int oldType = GetType();
  const int oldCount = GetNumberOfOutcomes();
  DropParentsNotTakenBy(copy->GetType());
  definition = std::move(copy);
  if (const QVR_node* source = OwnerOf(other); source != nullptr && source != this) {
    definition->RenameParent(handle, source->GetId().c_str(), GetId().c_str());  // an equation names its node
  }
  if (!DefinitionFitsParents(other)) {
    definition->RebuildFromNetwork();
  }
  if (auto* equation = dynamic_cast<EquationDefinition*>(definition.get())) {
    equation->EquationChanged();  // the children's tables were made from another one
  }
  if (value && GetNumberOfOutcomes() != oldCount) {
    value->Reinitialize();
  }
  UpdateChildren(oldType, oldCount);
  FitExtra();
  network->GetCases().DefinitionTypeChanged(handle, oldType);
  return QVR_OKAY;
}

int QVR_node::CopyValue(const QVR_nodeValue& other) {
  if (!other.IsReady()) {
    return QVR_OBJECT_NOT_READY;
  }
  if (&other == value.get()) {
    return QVR_OKAY;
  }
  const ValueClass* known = FindValueClass(other.GetValueType());
  if (known == nullptr) {
    return QVR_OUT_OF_RANGE;
  }
  try {
    value = known->copy(other);
  } catch (const std::bad_alloc&) {
    return QVR_OUT_OF_MEMORY;
  }
  value->SetOwner(network, handle);
  return QVR_OKAY;
}

}  // namespace qvr
