// The files of a batch run.
#ifndef QVR_APP_BATCH_FILES_H
#define QVR_APP_BATCH_FILES_H

#include <string>

namespace qvr {

// Under the names that they have in a batch folder.
struct BatchFiles {
  std::string cases = "csvofanalyzedata.csv";
  std::string resultNames = "csvofresult.csv";
  std::string symptomNames = "csvofsymps.csv";
  std::string network = "kvtnetwork.xqvr";
  std::string results = "resultdata.csv";
};

}  // namespace qvr

#endif
