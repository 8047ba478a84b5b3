#pragma once

#include "conformance/conform.h"
#include "tests/support/StateFixture.h"

#include <functional>
#include <string>
#include <vector>

/// Small changes of data sets, which throw where they cannot be made.
using Edit = std::function<void(DcmDataset&)>;

/// Sets elements, and makes the items that hold them: "GraphicLayerSequence[1].GraphicLayer=LAYER". An element or item
/// whose path begins with a minus is removed.
Edit set(const std::vector<std::string>& paths);
/// Puts floating point numbers as they are in place of an element, or their bytes as a value of another VR.
Edit putFloats(const std::string& path, const std::vector<Float32>& values, DcmEVR vr = EVR_FL);

/// Adds what the viewer never draws, without a fault: a second annotation item in a layer of its own with a text in
/// DISPLAY units, one at an anchor, each type of graphic, styles, a compound graphic (an axis) and a group.
Edit addForeignAnnotations();

/// States that the rules of the conformant form are held against, which know all images as 512 x 512.
class AnnotatedState : public StateFixture, protected tarn::conformance::ImageSizes
{
protected:
  /// A sample output of every kind of annotation, and foreign annotations, in the conformant form. It is made once.
  DcmDataset sound();

  std::optional<tarn::conformance::ImageSize> find(const std::string&) override { return {{512, 512, 1}}; }
};
