#pragma once

#include <chrono>
#include <iosfwd>
#include <string>
#include <vector>

// The commands of ormex-db for a branch linked to headquarters: the changes it queued for
// headquarters (listing them; retrying or discarding the ones headquarters refused) and the
// reconciliation of its cards with headquarters'. Each returns the process exit code.
namespace ormex::tools {

// outbox list|retry|discard <db> [<number>]: retry and discard act for `user`, who needs hy0017.
int outboxCommand(const std::vector<std::string>& a, const std::string& user, std::ostream& out,
                  std::ostream& notes);
// reconcile <branch-db> <headquarters> [--csv]: 1 when a difference is unexplained.
int reconcileCommand(const std::vector<std::string>& a, std::chrono::milliseconds deadline, std::ostream& out,
                     std::ostream& notes);

} // namespace ormex::tools
