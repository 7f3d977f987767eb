// Which classes take parents of which types.
#include <algorithm>
#include <span>

#include "definitions/node_definition.h"

namespace qvr {

namespace {

constexpr int kDiscrete[] = {kTypeList,     kTypeCpt,      kTypeTruthTable, kTypeCast,
                             kTypeDeMorgan, kTypeNoisyMax, kTypeNoisyAdder};
constexpr int kCanonical[] = {kTypeList, kTypeCpt, kTypeTruthTable, kTypeNoisyMax, kTypeNoisyAdder};
constexpr int kMultiAttribute[] = {kTypeList, kTypeTable, kTypeMau};
constexpr int kContinuous[] = {kTypeEquation, kTypeEquationScc};
constexpr int kHybrid[] = {kTypeList,         kTypeCpt,      kTypeTruthTable, kTypeCast,
                           kTypeDeMorgan,     kTypeNoisyMax, kTypeNoisyAdder, kTypeDChildHParent,
                           kTypeDistribution, kTypeHEquation};

struct ParentRule {
  int childType;
  std::span<const int> parentTypes;
};

constexpr ParentRule kParentRules[] = {
    {kTypeCpt, kDiscrete},        {kTypeTruthTable, kDiscrete},    {kTypeList, kDiscrete},
    {kTypeTable, kDiscrete},      {kTypeCast, kDiscrete},          {kTypeDeMorgan, kDiscrete},
    {kTypeNoisyMax, kCanonical},  {kTypeNoisyAdder, kCanonical},   {kTypeMau, kMultiAttribute},
    {kTypeEquation, kContinuous}, {kTypeEquationScc, kContinuous}, {kTypeDChildHParent, kHybrid},
    {kTypeDistribution, kHybrid}, {kTypeHEquation, kHybrid},
};

bool Contains(std::span<const int> types, int type) {
  return std::find(types.begin(), types.end(), type) != types.end();
}

}  // namespace

bool QVR_nodeDefinition::TakesParent(int childType, int parentType) {
  for (const ParentRule& rule : kParentRules) {
    if (rule.childType == childType) {
      return Contains(rule.parentTypes, parentType);
    }
  }
  return false;
}

bool QVR_nodeDefinition::IsDiscreteParentType(int type) { return Contains(kDiscrete, type); }

}  // namespace qvr
