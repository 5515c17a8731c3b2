#pragma once

#include <memory>
#include <string>

#include "platform/BusinessObjects.h"
#include "platform/Value.h"

// What the component asks its host about the running session, every time it needs it: the
// shared properties of this process, the session descriptor, the login object, the logged-on
// user and the machine's identity. Nothing is cached.
namespace ormex::module::frame {

// The value of a key of the shared property table, or the default when the key is absent.
// Throws when the host has published no table for this process.
platform::Value GetSharedProp(const std::string& key, const platform::Value& defaultValue = {});

bool IsBranch();
bool IsStoredValueShared();
// A branch whose stored-value cards are shared with headquarters.
bool IsHQLinkedBranch();
std::string GetBranchNum();
// BranchID as a number (rounded); 0 when it is empty or not a number.
long GetBranchID();

std::string GetPropsString();
std::shared_ptr<platform::LoginObject> GetLoginObject();

std::string CurrentUserName();
int CurrentUserId();

// The computer name in upper case; "" when it cannot be read.
std::string GetMachineName();
// The computer name for task registration; "NoName" when it cannot be read.
std::string GetTaskMachineName();
// The machine's address; "" when it cannot be read.
std::string GetTcpAddress();

} // namespace ormex::module::frame
