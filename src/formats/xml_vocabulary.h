// The words of the XML network format that stand for numbers, in their order.
#ifndef QVR_FORMATS_XML_VOCABULARY_H
#define QVR_FORMATS_XML_VOCABULARY_H

#include <cstddef>
#include <span>

namespace qvr {

inline constexpr const char* kDiagnosisWords[] = {"target", "observation", "auxiliary"};
inline constexpr int kAuxiliary = 2;
inline constexpr const char* kDynamicWords[] = {"normal", "anchor", "terminal", "plate"};  // DynamicType
inline constexpr const char* kFunctionWords[] = {"average", "singlefault"};                // AdderFunction
inline constexpr const char* kInfluenceWords[] = {"inhibitor", "requirement", "cause",     // InfluenceType
                                                  "barrier"};

[[nodiscard]] inline const char* WordOf(std::span<const char* const> words, int number) {
  return words[static_cast<std::size_t>(number)];
}

}  // namespace qvr

#endif
