// The words of the XML network format that stand for numbers, in their order.
#ifndef QVR_FORMATS_XML_VOCABULARY_H
#define QVR_FORMATS_XML_VOCABULARY_H

#include <span>
#include <string>

namespace qvr {

class QVR_node;

inline constexpr const char* kDiagnosisWords[] = {"target", "observation", "auxiliary"};
inline constexpr int kAuxiliary = 2;
inline constexpr const char* kDynamicWords[] = {"normal", "anchor", "terminal", "plate"};  // DynamicType
inline constexpr const char* kFunctionWords[] = {"average", "singlefault"};                // AdderFunction
inline constexpr const char* kInfluenceWords[] = {"inhibitor", "requirement", "cause",
                                                  "barrier"};  // InfluenceType
inline constexpr const char* kFaultNameWords[] = {"user", "node", "state", "nodestate", "inherit"};
inline constexpr int kFaultNamesOfNodeAndState = 3;  // what a network starts with
inline constexpr int kInheritFaultNames = 4;         // for nodes alone
inline constexpr const char* kNoCostWord = "n/a";    // in the place of a number

// The position of the word, the fallback for an empty one, or -2.
[[nodiscard]] int FindWord(const std::string& word, std::span<const char* const> words, int fallback);
// The fallback's word for a number that has none.
[[nodiscard]] const char* WordOf(int number, std::span<const char* const> words, int fallback);
// What the format calls an outcome of the node; null for what is no outcome. The elements of gates have no
// states, so whatever a gate's outcomes are called, a reader knows them by the names that they start with.
[[nodiscard]] const char* OutcomeWord(const QVR_node& node, int outcome);

}  // namespace qvr

#endif
