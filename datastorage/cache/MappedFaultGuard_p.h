#pragma once

namespace vx::datastorage {

/// Keeps a process alive whose mapped cache files are cut short by somebody else.
///
/// Reading a page of a mapping that its file does not hold any more raises SIGBUS, which ends the
/// process. While the guard is installed, such a page of a mapping in MappedSampleTable is replaced by
/// one whose samples all read as missing, and the row of the mapping is limited to the samples that
/// are left. Every other SIGBUS goes to the handler that was installed before, or ends the process as
/// it would have. Systems without SIGBUS do not let a mapped file be cut short; there the guard is
/// empty.
///
/// Up to the first such access, samples that share their page with the new end of the file read as
/// zero bits: the system fills the rest of that page.
class MappedFaultGuard
{
public:
    /// Installs the guard unless it is there. Same thread as the writer of MappedSampleTable.
    static void install();

    /// Puts the earlier handler back, if nobody has installed another one since.
    static void remove();
};

} // namespace vx::datastorage
