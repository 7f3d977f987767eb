#include "formats/xml_version.h"

#include "model/special_numbers.h"

namespace qvr {
namespace {

constexpr const char* kHomePage = "https://qvr.example.org/";

}  // namespace

std::string UpgradeNotice() {
  return std::string("Please download most recent version of ORBEL/Tarvo from:\n") + kHomePage;
}

bool CheckVersion(IXmlReader& reader, const std::string& found, const std::string& supported) {
  if (!(ParseDouble(found.c_str(), nullptr) > ParseDouble(supported.c_str(), nullptr))) {
    return true;
  }
  reader.Abort("Invalid version number '" + found + "', expected " + supported + "\n" + UpgradeNotice());
  return false;
}

}  // namespace qvr
