// Status codes: 0 for success, a negative number for each kind of failure.
#ifndef QVR_MODEL_STATUS_H
#define QVR_MODEL_STATUS_H

namespace qvr {

inline constexpr int QVR_OKAY = 0;
inline constexpr int QVR_GENERAL_ERROR = -1;
inline constexpr int QVR_OUT_OF_RANGE = -2;  // any bad argument
inline constexpr int QVR_ERROR_3 = -3;
inline constexpr int QVR_WRONG_SIZE = -4;  // wrong counts, bounds, slices, temporal types
inline constexpr int QVR_NO_SAMPLES = -5;
inline constexpr int QVR_UNSOLVABLE = -6;  // an equation without a solution
inline constexpr int QVR_CYCLE = -11;
inline constexpr int QVR_HAS_CHILDREN = -19;
inline constexpr int QVR_EVIDENCE_CONFLICT = -26;
inline constexpr int QVR_ILLEGAL_IDENTIFIER = -30;
inline constexpr int QVR_DUPLICATED_IDENTIFIER = -32;
inline constexpr int QVR_OUT_OF_MEMORY = -42;   // also a refused size
inline constexpr int QVR_ZERO_POTENTIAL = -43;  // a table that lost all probability
inline constexpr int QVR_WRONG_NODE_TYPE = -51;
inline constexpr int QVR_ERROR_52 = -52;
inline constexpr int QVR_FILE_ERROR_100 = -100;
inline constexpr int QVR_FILE_ERROR_101 = -101;
inline constexpr int QVR_FILE_ERROR_102 = -102;
inline constexpr int QVR_FILE_IO_FAILED = -103;
inline constexpr int QVR_NO_MORE_TOKENS = -111;
inline constexpr int QVR_LEXICAL_ERROR = -126;
inline constexpr int QVR_SYNTAX_ERROR = -127;
inline constexpr int QVR_UNEXPECTED_EOF = -128;
inline constexpr int QVR_WRONG_FIELD = -129;
inline constexpr int QVR_OBJECT_NOT_READY = -567;
inline constexpr int QVR_INCONSISTENT = -568;

}  // namespace qvr

#endif
