#pragma once

#include <string>

class DcmDataDictionary;

namespace tarn::dicom
{

// The toolkit's data dictionary is one for the process. It is asked for the VR of an element only in implicit VR, where
// the file does not say it (PS3.5 7.1.3), and for names. So that a run on an explicit VR file does not pay for a table
// of thousands of attributes, a program begins without most of it, and completes it when something is to ask for them.
//
// What a program writes never depends on the dictionary: writers say their VRs.

/// Gives the toolkit what it needs to parse and write explicit VR, or, where DCMDICTPATH names files (separated by
/// ':'), the whole table that was compiled in from the installed text dictionary and those files over it. Call once at
/// process start, before any other use of the toolkit and while there is one thread. Returns false with one line in
/// `error` when a named file cannot be read or understood; the toolkit itself would go on silently and write wrong
/// files.
[[nodiscard]] bool setUpDictionary(std::string& error);

/// Gives the toolkit every attribute that setUpDictionary() kept back; does nothing when that was done before, and in a
/// process that did not call it: a host of the library has its own dictionary. Called where a name may be asked for (a
/// dump, a message) and by loadFile() for a file that is not all explicit VR. Any thread may call it at any time.
void completeDictionary();

/// Gives `dictionary` the compiled-in attributes of the groups that the toolkit uses by itself, and those that repeat
/// over groups or elements; completeDictionary() will give the rest to the process's own.
void supplyOwnGroups(DcmDataDictionary& dictionary);

/// Gives `dictionary` all compiled-in attributes.
void supplyAll(DcmDataDictionary& dictionary);

} // namespace tarn::dicom
