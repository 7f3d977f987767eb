// The cursor over a matrix: walks it in storage order, the last dimension fastest.
#ifndef QVR_MODEL_SYSTEM_COORDINATES_H
#define QVR_MODEL_SYSTEM_COORDINATES_H

#include "model/dense_matrix.h"
#include "model/object.h"

namespace qvr {

class QVR_nodeDefinition;
class QVR_nodeValue;

// Borrows its matrix, which must keep its shape while the cursor is in use. Without a matrix every
// walk gives -2.
class QVR_sysCoordinates : public QVR_object {
 public:
  QVR_sysCoordinates() { SetReady(true); }
  explicit QVR_sysCoordinates(QVR_Dmatrix& newMatrix);
  explicit QVR_sysCoordinates(QVR_nodeValue& value);

  int LinkTo(QVR_Dmatrix& newMatrix);
  // The code of the definition's GetMatrix, with no matrix bound, if that fails.
  int LinkTo(QVR_nodeDefinition& definition);

  // Unlocked coordinates become 0.
  void GoFirst();
  // A bad index goes to the first element and gives -2.
  int GoTo(int index);
  // Takes the position from the coordinates. Out of the table: as for a bad index.
  int GoToCurrentPosition();
  // The next combination of the free dimensions; -2 at the end.
  int Next();
  // A cell of no meaning, reset to 0.0, where there's no element.
  [[nodiscard]] double& CurrentValue() const;
  void Lock(int dimension) { locked[dimension] = 1; }
  void UnlockAll() { locked.Fill(0); }

  // Callers may write the elements.
  QVR_intArray& Coordinates() { return coordinates; }
  [[nodiscard]] const QVR_Dmatrix* GetMatrix() const { return matrix; }
  [[nodiscard]] int GetCurrentPosition() const { return currentPosition; }

 private:
  void Unlink();
  void ZeroUnlocked(int from);
  bool TakePosition();  // derives the position; false if there's no such element

  QVR_Dmatrix* matrix = nullptr;
  QVR_intArray coordinates;
  int currentPosition = 0;
  QVR_intArray locked;
};

}  // namespace qvr

#endif
