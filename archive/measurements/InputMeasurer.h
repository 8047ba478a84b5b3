#pragma once

#include "archive/journal/Record.h"
#include "archive/measurements/MeasurementTable.h"
#include "db/DBConnectorSql.h"
#include "images/ImageFiles.h"

#include <string>

namespace tarn::archive
{

/// Measures the annotations of inputs, of which a journal tells what became: their figures stand in the inputs, as the
/// viewer wrote them, and the record says which output each line went to.
class InputMeasurer
{
public:
  /// Images are looked for in the data repository and in `imagesFolder`, which may be empty. Borrows the table.
  InputMeasurer(const std::string& imagesFolder, MeasurementTable& table) : images(db, imagesFolder), table(table) {}

  /// Writes a row for each annotation line that the record counts. Returns why it cannot, empty where it could.
  std::string measure(const Record& record);

private:
  db::DBConnectorSql db{db::Missing::refuse}; ///< never asked: all is in files
  images::ImageFiles images;
  MeasurementTable& table;
};

} // namespace tarn::archive
