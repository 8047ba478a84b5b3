#pragma once

#include "db/DBConnector.h"

#include <list>

class DcmFileFormat;

namespace impsconverter
{

/// Converts a Grayscale Softcopy Presentation State (PS3.3 A.33.1) that is in memory: for each image that its plug-in
/// state annotates, one new presentation state is appended to `out`, and last the object itself, made fit to leave the
/// archive. The caller owns all of `out`; `file` stays the caller's also when it is not in the list. With
/// `touchObjectCache` the study's object table is made sure of first. The object's dataset is changed. Returns false
/// after a message on the console (see ConsoleScope); what was appended before stays. True with nothing appended, and a
/// message, where the study's object table could not be made sure of.
[[nodiscard]] bool convertPSObject(tarn::db::DBConnector& db, DcmFileFormat* file, std::list<DcmFileFormat*>& out,
                                   bool touchObjectCache);

class Account;

/// The same, telling in `account` what became of each line of the plug-in state.
[[nodiscard]] bool convertPSObject(tarn::db::DBConnector& db, DcmFileFormat* file, std::list<DcmFileFormat*>& out,
                                   bool touchObjectCache, Account& account);

/// Whether the object is a presentation state with a plug-in state. `sopClassUID` null: its SOP Class UID (0008,0016)
/// is read. Legacy private elements of the object are moved into the canonic block.
[[nodiscard]] bool needPSConversion(DcmFileFormat& file, const char* sopClassUID);

/// Whether the UID is that of Grayscale Softcopy Presentation State Storage; false for null.
[[nodiscard]] bool isPSSopClass(const char* sopClassUID);

} // namespace impsconverter
