#pragma once

#include <string>

namespace tarn::db
{

/// A row of the object table: one DICOM object of a study. A NULL column reads as empty or 0.
struct ObjectRecord
{
  std::string sopClassUid;
  std::string sopInstanceUid;
  std::string seriesInstanceUid;
  int columns = 0;
  int rows = 0;
  int frames = 0;
};

/// The object table, named by OBJECTTBL (`objects` when unset).
class ObjectAccessor
{
public:
  /// Looks up the object `objectName` (a modality, a point and the SOP Instance UID: `CT.1.2.3`) of a study; keys are
  /// compared as bytes. Returns false, with `record` unchanged, when there is no such row.
  [[nodiscard]] virtual bool findObject(const std::string& studyUid, const std::string& objectName,
                                        ObjectRecord& record) = 0;

  virtual ~ObjectAccessor() = default;
};

} // namespace tarn::db
