#pragma once

namespace tarn::repository
{

/// Writes a list of the host's processes to /tmp/error_ps.PID.txt, for whoever looks into a load that failed.
void dumpPS();

} // namespace tarn::repository
