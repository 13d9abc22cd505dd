#include "system/AccessRights.h"

#include <acl/libacl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "base/modText.h"

namespace {

constexpr unsigned readWrite = 6;

struct Freed {
    void operator()(void* memory) const { acl_free(memory); }
};
using AclList = std::unique_ptr<std::remove_pointer_t<acl_t>, Freed>;

bool Has(const std::vector<gid_t>& groups, gid_t group) {
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

std::string ModeText(mode_t mode) {
    std::string text = S_ISCHR(mode) ? "c" : "-";
    constexpr const char* letters = "rwx";
    for (int bit = 8; bit >= 0; --bit) text += (mode >> bit & 1U) != 0 ? letters[(8 - bit) % 3] : '-';
    return text;
}

unsigned Permissions(acl_entry_t entry) {
    acl_permset_t set = nullptr;
    if (acl_get_permset(entry, &set) != 0) return 0;
    return (acl_get_perm(set, ACL_READ) == 1 ? 4U : 0U) | (acl_get_perm(set, ACL_WRITE) == 1 ? 2U : 0U);
}

// What an access list says beyond owner, group and others, who are the mode's.
struct ListedRights {
    bool UserNamed = false;
    unsigned User = 0;
    unsigned Mask = readWrite;
    bool GroupMatched = false;  // one of the session's groups stands there
    bool GroupMay = false;
    unsigned OwningGroup = 0;
    std::string Text;
};

ListedRights ReadList(const AccessNode& node, const struct stat& file, const AccessAccount& account) {
    ListedRights rights;
    rights.OwningGroup = file.st_mode >> 3 & 7U;
    if (acl_extended_file(node.Device.c_str()) != 1) return rights;
    const AclList list(acl_get_file(node.Device.c_str(), ACL_TYPE_ACCESS));
    acl_entry_t entry = nullptr;
    for (int at = ACL_FIRST_ENTRY; list && acl_get_entry(list.get(), at, &entry) == 1; at = ACL_NEXT_ENTRY) {
        acl_tag_t tag = ACL_UNDEFINED_TAG;
        acl_get_tag_type(entry, &tag);
        const unsigned may = Permissions(entry);
        const std::unique_ptr<void, Freed> whom(acl_get_qualifier(entry));
        if (tag == ACL_MASK) rights.Mask = may;
        if (tag == ACL_GROUP_OBJ) rights.OwningGroup = may;
        if (tag == ACL_USER && whom && *static_cast<const uid_t*>(whom.get()) == account.User) {
            rights.UserNamed = true;
            rights.User = may;
        }
        if (tag == ACL_GROUP && whom && Has(account.Session, *static_cast<const gid_t*>(whom.get()))) {
            rights.GroupMatched = true;
            rights.GroupMay = rights.GroupMay || (may & readWrite) == readWrite;
        }
    }
    const std::unique_ptr<char, Freed> text(acl_to_any_text(list.get(), nullptr, ',', TEXT_ABBREVIATE));
    if (text) rights.Text = modText::FromUtf8(text.get());
    return rights;
}

// The kernel's order: owner, named user, any of the groups, all others.
bool MayUse(const struct stat& file, const AccessAccount& account, const ListedRights& list) {
    const auto enough = [](unsigned may) { return (may & readWrite) == readWrite; };
    if (account.User == 0) return true;
    if (account.User == file.st_uid) return enough(file.st_mode >> 6);
    const bool masked = enough(list.Mask);
    if (list.UserNamed) return masked && enough(list.User);
    const bool owning = Has(account.Session, file.st_gid);
    if (owning || list.GroupMatched) return masked && ((owning && enough(list.OwningGroup)) || list.GroupMay);
    return enough(file.st_mode);
}

}  // namespace

AccessAccount AccessAccount::Current() {
    AccessAccount account;
    account.Own = true;
    account.User = geteuid();
    account.Session.resize(static_cast<std::size_t>(std::max(getgroups(0, nullptr), 0)));
    const int count = getgroups(static_cast<int>(account.Session.size()), account.Session.data());
    account.Session.resize(static_cast<std::size_t>(std::max(count, 0)));
    account.Session.push_back(getegid());
    const passwd* const entry = getpwuid(account.User);
    account.Name = entry != nullptr ? entry->pw_name : std::to_string(account.User);
    if (entry == nullptr) return account;
    int listed = 0;
    getgrouplist(entry->pw_name, entry->pw_gid, nullptr, &listed);
    account.Listed.resize(static_cast<std::size_t>(std::max(listed, 0)));
    if (getgrouplist(entry->pw_name, entry->pw_gid, account.Listed.data(), &listed) < 0)
        account.Listed.clear();
    return account;
}

namespace AccessRights {

void Look(AccessNode& node, const AccessAccount& account) {
    struct stat file {};
    node.There = stat(node.Device.c_str(), &file) == 0;
    if (!node.There) return;
    const passwd* const owner = getpwuid(file.st_uid);
    node.Owner = owner != nullptr ? modText::FromUtf8(owner->pw_name) : std::to_string(file.st_uid);
    const group* const entry = getgrgid(file.st_gid);
    node.Group = entry != nullptr ? modText::FromUtf8(entry->gr_name) : std::to_string(file.st_gid);
    node.Mode = ModeText(file.st_mode);
    node.Listed = Has(account.Listed, file.st_gid);
    node.Member = Has(account.Session, file.st_gid);
    const ListedRights list = ReadList(node, file, account);
    node.Acl = list.Text;
    node.May = MayUse(file, account, list);
}

AccessFinding Explain(const AccessNode& node, const AccessAccount& account) {
    const std::string name = modText::FromUtf8(account.Name);
    const std::string device = ShellWord(node.Device);
    const std::string grant = "sudo setfacl -m u:" + name + ":rw " + device;
    AccessFinding found{
        AccessTrouble::OwnerOnly, node.Name, "no access to " + modText::FromUtf8(node.Device), {}, {}, {}};
    // Under an access list the group's place in the mode is the list's mask.
    const bool group = node.Mode.substr(4, 2) == "rw" && node.Group != "root";
    if (!node.Acl.empty() && node.Member) {
        found.Trouble = AccessTrouble::AclRefuses;
        found.Why = "its access list (" + node.Acl + ") takes away what the group " + node.Group + " has";
        found.ToDo = "take the list away";
        found.Command = "sudo setfacl -b " + device;
    } else if (group && node.Listed && !node.Member) {
        found.Trouble = AccessTrouble::NotInSession;
        found.Why = name + " is in the group " + node.Group + " since this session began";
        found.ToDo = "log out and in again; in one terminal a new shell with the group does as well";
        found.Command = "newgrp " + node.Group;
    } else if (group && !node.Member) {
        found.Trouble = AccessTrouble::NotInGroup;
        found.Why = "it belongs to the group " + node.Group + ", and " + name + " is not in it";
        found.ToDo = "add the account to the group, then log out and in again";
        found.Command = "sudo adduser " + name + " " + node.Group;
    } else {
        found.Why = "only its owner, " + node.Owner + ", may use it";
        found.ToDo = "give it to the account until it is plugged in again; a udev rule does it for good";
        found.Command = grant;
    }
    return found;
}

bool SystemRefuses(const AccessNode& node, const AccessAccount& account) {
    return account.Own && access(node.Device.c_str(), R_OK | W_OK) != 0;
}

}  // namespace AccessRights
