#pragma once

#include "samples/SampleState.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Inputs of any size for the benchmarks.
namespace bench
{

inline const std::string kImageRoot = "1.2.3.4.";

inline std::string imageName(int image)
{
  return "CT." + kImageRoot + std::to_string(image);
}

inline std::string idLine(int image)
{
  return "ID x/" + imageName(image) + "_1";
}

inline std::string rulerLine(int number)
{
  const std::string n = std::to_string(number);
  return "ruler_x " + n + " yellow 10 20 0 1 30 40 50 60 0|100 200 " + n + "%2E5+mm 1";
}

/// A presentation state that refers to `images` images and annotates them by `figures`.
inline std::unique_ptr<DcmFileFormat> makeInput(std::vector<samples::Figure> figures, int images)
{
  const std::unique_ptr<DcmDataset> dataset = samples::makeState(
      {"bench", 1, "bench", samples::Layout::canonic, EVR_OB, EXS_LittleEndianExplicit, std::move(figures)});
  DcmItem* series = nullptr;
  dataset->findOrCreateSequenceItem(DCM_ReferencedSeriesSequence, series, 0);
  for (int image = 0; image < images; ++image)
  {
    DcmItem* reference = nullptr;
    series->findOrCreateSequenceItem(DCM_ReferencedImageSequence, reference, -2);
    reference->putAndInsertString(DCM_ReferencedSOPClassUID, UID_CTImageStorage);
    reference->putAndInsertString(DCM_ReferencedSOPInstanceUID, (kImageRoot + std::to_string(image)).c_str());
  }
  return std::make_unique<DcmFileFormat>(dataset.get());
}

/// One image with `count` rulers.
inline std::vector<samples::Figure> annotationsOfOneImage(int count)
{
  samples::Figure figure{idLine(0)};
  for (int number = 0; number < count; ++number)
    figure.push_back(rulerLine(number));
  return {figure};
}

/// `count` images with one ruler each, in figures of their own.
inline std::vector<samples::Figure> imagesWithOneAnnotation(int count)
{
  std::vector<samples::Figure> figures;
  for (int image = 0; image < count; ++image)
    figures.push_back({idLine(image), rulerLine(image)});
  return figures;
}

} // namespace bench
