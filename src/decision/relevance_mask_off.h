// Keeps the changes that a solver makes to the user's network from spoiling values there.
#ifndef QVR_DECISION_RELEVANCE_MASK_OFF_H
#define QVR_DECISION_RELEVANCE_MASK_OFF_H

namespace qvr {

class QVR_network;

// Sets the network's relevanceMask to 0, and puts it back on every way out.
class RelevanceMaskOff {
 public:
  explicit RelevanceMaskOff(QVR_network& newNetwork);
  ~RelevanceMaskOff();
  RelevanceMaskOff(const RelevanceMaskOff&) = delete;
  RelevanceMaskOff& operator=(const RelevanceMaskOff&) = delete;

  void Restore();
  void LeaveOff() { isOff = false; }  // nothing is put back

 private:
  QVR_network& network;
  unsigned saved;
  bool isOff = true;
};

}  // namespace qvr

#endif
