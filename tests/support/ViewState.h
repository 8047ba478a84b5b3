#pragma once

#include "conformance/ImageSizes.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

#include <memory>
#include <string>

/// The images that the states refer to: CT 1.2.3 and 1.2.4 (512 x 256), 1.2.6 (64 x 64), and ten frames 1.2.5.
class ViewSizes : public tarn::conformance::ImageSizes
{
public:
  std::optional<tarn::conformance::ImageSize> find(const std::string& uid) override;
};

/// A state that obeys every rule and has every module around its annotations: rotation, window, Modality LUT, shutter,
/// overlay. It refers to the CT image 1.2.3.
std::unique_ptr<DcmDataset> viewState();

/// Edits a state by steps, which stand with semicolons between them:
/// - "ImageRotation=45", "area.PresentationSizeMode:LO=MAGNIFY": puts a value, under the VR named; area, window, image,
///   annotation, graphic and text stand for the first item of a sequence, and any other is named, with a number:
///   "GraphicLayerSequence#1"
/// - "-area.PresentationSizeMode": takes an element out
/// - "+image 1.2.5 1\2": refers to an image, or to frames of it, in a series of its own
/// - "+area 1.2.4": adds a copy of the first area, for an image of its own where one is named
/// - "+choose window 1.2.4": makes an item refer to an image, or to frames of it
/// - "+pixels IconImageSequence": adds pixels without a value
/// - "+table window.VOILUTSequence 3": adds a table of so many entries of 16 bits
/// - "+item MaskSubtractionSequence": adds an empty item
void edit(DcmItem& state, const std::string& steps);
