#pragma once

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

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
