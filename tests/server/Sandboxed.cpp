// SPDX-License-Identifier: GPL-3.0-or-later

// Runs a program under restrictions of the kind that systemd puts on a service, as far as a process can do that itself:
//
//     Sandboxed CALLS FAMILIES PROGRAM [ARGUMENT...]
//
// CALLS is a file of system calls, one a line: all others fail with EPERM. FAMILIES are numbers of address families
// with commas between them: no other sockets can be made. Beyond that there are no new privileges, no capabilities and
// no other user than nobody (if it is started as root), no memory that can be written and executed, no new namespaces,
// no core dump, no longer life than that of whoever started it, and only the owner may read what is made.

#include <seccomp.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <grp.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int families = 46;

[[noreturn]] void fail(const char* what)
{
    std::perror(what);
    std::exit(125);
}

class Filter
{
public:
    explicit Filter(uint32_t byDefault)
        : m_context(seccomp_init(byDefault))
    {
        if (m_context == nullptr)
            fail("seccomp_init");
    }
    ~Filter() { seccomp_release(m_context); }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

    void add(uint32_t action, int call)
    {
        if (seccomp_rule_add(m_context, action, call, 0) != 0)
            fail("seccomp_rule_add");
    }
    void add(uint32_t action, int call, scmp_arg_cmp condition)
    {
        if (seccomp_rule_add(m_context, action, call, 1, condition) != 0)
            fail("seccomp_rule_add with a condition");
    }
    void load()
    {
        errno = -seccomp_load(m_context);
        if (errno != 0)
            fail("seccomp_load");
    }

private:
    scmp_filter_ctx m_context;
};

void becomeNobody()
{
    if (geteuid() != 0)
        return;
    const passwd* nobody = getpwnam("nobody");
    if (nobody == nullptr || setgroups(0, nullptr) != 0 || setgid(nobody->pw_gid) != 0 || setuid(nobody->pw_uid) != 0)
        fail("becoming nobody");
}

void limit(int resource, rlim_t most)
{
    const rlimit limits{most, most};
    if (setrlimit(static_cast<__rlimit_resource_t>(resource), &limits) != 0)
        fail("setrlimit");
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: Sandboxed CALLS FAMILIES PROGRAM [ARGUMENT...]\n");
        return 125;
    }
    std::ifstream file(argv[1]);
    std::set<int> calls;
    for (std::string name; std::getline(file, name);) {
        // Not every machine has every call.
        const int call = seccomp_syscall_resolve_name(name.c_str());
        if (call >= 0)
            calls.insert(call);
    }
    std::set<int> allowedFamilies;
    std::istringstream list(argv[2]);
    for (std::string number; std::getline(list, number, ',');)
        allowedFamilies.insert(std::atoi(number.c_str()));

    umask(S_IRWXG | S_IRWXO);
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_NOFILE, 4096);
    becomeNobody();
    // A change of the user makes the system forget the first, if it was set before.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        fail("prctl");

    const uint32_t refused = SCMP_ACT_ERRNO(EPERM);
    Filter sockets(SCMP_ACT_ALLOW);
    for (int family = 0; family < families; ++family) {
        if (allowedFamilies.count(family) == 0)
            sockets.add(SCMP_ACT_ERRNO(EAFNOSUPPORT), SCMP_SYS(socket), SCMP_A0(SCMP_CMP_EQ, scmp_datum_t(family)));
    }
    Filter memory(SCMP_ACT_ALLOW);
    memory.add(refused, SCMP_SYS(mmap), SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC | PROT_WRITE, PROT_EXEC | PROT_WRITE));
    memory.add(refused, SCMP_SYS(mprotect), SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, PROT_EXEC));
    memory.add(refused, SCMP_SYS(pkey_mprotect), SCMP_A2(SCMP_CMP_MASKED_EQ, PROT_EXEC, PROT_EXEC));
    memory.add(refused, SCMP_SYS(shmat), SCMP_A2(SCMP_CMP_MASKED_EQ, SHM_EXEC, SHM_EXEC));
    Filter namespaces(SCMP_ACT_ALLOW);
    namespaces.add(refused, SCMP_SYS(unshare));
    namespaces.add(refused, SCMP_SYS(setns));
    // Its flags cannot be looked at, so that programs are made to use the other one.
    namespaces.add(SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3));
    for (const int flag :
         {CLONE_NEWCGROUP, CLONE_NEWIPC, CLONE_NEWNET, CLONE_NEWNS, CLONE_NEWPID, CLONE_NEWUSER, CLONE_NEWUTS})
        namespaces.add(refused, SCMP_SYS(clone), SCMP_A0(SCMP_CMP_MASKED_EQ, scmp_datum_t(flag), scmp_datum_t(flag)));
    Filter all(refused);
    for (const int call : calls)
        all.add(SCMP_ACT_ALLOW, call);
    // The last one need not allow what loads filters.
    sockets.load();
    memory.load();
    namespaces.load();
    all.load();

    execv(argv[3], argv + 3);
    fail(argv[3]);
}
