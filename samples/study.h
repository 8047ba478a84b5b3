#pragma once

/// UIDs of the one sample study. All lie below one root; only the states' own UIDs begin with the root of objects
/// that the viewer issues.
namespace samples
{

constexpr char kStudyUid[] = "1.2.826.0.1.7770001.2.11.1.20";
constexpr char kFrameOfReferenceUid[] = "1.2.826.0.1.7770001.2.11.1.20.8";
constexpr char kStateSeriesUid[] = "1.2.826.0.1.7770001.2.11.1.20.9";
constexpr char kStateUidRoot[] = "1.2.826.0.1.7770001.2.11.4.20.";

} // namespace samples
