#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "ports/AccessReport.h"

/// An account, and what this session of it may.
struct AccessAccount {
    uid_t User = 0;
    std::string Name;            ///< or its number, where it has none
    std::vector<gid_t> Session;  ///< the groups that this session has
    std::vector<gid_t> Listed;   ///< the groups that the account has on paper, and the next session will
    bool Own = false;            ///< this process runs as it, so that the system itself can be asked

    /// Who runs this process.
    static AccessAccount Current();
};

/// Owner, group, mode and access list of a device file, and what they let an account do. Looks only.
namespace AccessRights {

/// Fills all of `node` that its device file tells, the file's name given.
void Look(AccessNode& node, const AccessAccount& account);
/// Why an account may not use a node that is there, with the command that helps; only for one that may not.
AccessFinding Explain(const AccessNode& node, const AccessAccount& account);
/// Whether the system refuses the file to this process.
bool SystemRefuses(const AccessNode& node, const AccessAccount& account);

}  // namespace AccessRights
