// macOS: the workspace's running applications and the process information calls (not built
// or run on Linux).
#import <AppKit/AppKit.h>
#include <libproc.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "plattform/prozesse.hpp"

namespace hainbrem::plattform {

std::vector<LaufendesProgrammRoh> laufendeProgramme() {
    std::vector<LaufendesProgrammRoh> liste;
    @autoreleasepool {
        for (NSRunningApplication* app in NSWorkspace.sharedWorkspace.runningApplications) {
            LaufendesProgrammRoh p;
            if (NSString* s = app.bundleIdentifier) p.kennung = s.UTF8String;
            if (NSString* s = app.localizedName) p.name = s.UTF8String;
            if (NSString* s = app.executableURL.path) p.programmdatei = s.UTF8String;
            p.pid = app.processIdentifier;
            p.eigenes = p.pid != NSProcessInfo.processInfo.processIdentifier;
            liste.push_back(std::move(p));
        }
    }
    return liste;
}

bool beenden(int pid) {
    @autoreleasepool {
        NSRunningApplication* app = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
        return app != nil && [app terminate];
    }
}

std::vector<OffeneDateienRoh> offeneDateien(const std::vector<int>& bekannt, Anteil anteil) {
    std::vector<OffeneDateienRoh> liste;
    std::vector<pid_t> pids(static_cast<size_t>(proc_listpids(PROC_UID_ONLY, getuid(), nullptr, 0)) + 64);
    const int bytes = proc_listpids(PROC_UID_ONLY, getuid(), pids.data(), static_cast<int>(pids.size() * sizeof(pid_t)));
    pids.resize(bytes > 0 ? static_cast<size_t>(bytes) / sizeof(pid_t) : 0);
    for (pid_t pid : pids) {
        if (pid <= 0 || pid == getpid() || !anteil.umfasst(pid)) continue;
        OffeneDateienRoh p;
        p.pid = pid;
        p.gelesen = !std::binary_search(bekannt.begin(), bekannt.end(), pid);
        if (p.gelesen) {
            std::vector<proc_fdinfo> fds(1024);
            const int n = proc_pidinfo(pid, PROC_PIDLISTFDS, 0, fds.data(), static_cast<int>(fds.size() * sizeof(proc_fdinfo)));
            for (int i = 0; i < n / static_cast<int>(sizeof(proc_fdinfo)); ++i) {
                if (fds[static_cast<size_t>(i)].proc_fdtype != PROX_FDTYPE_VNODE) continue;
                vnode_fdinfowithpath info;
                if (proc_pidfdinfo(pid, fds[static_cast<size_t>(i)].proc_fd, PROC_PIDFDVNODEPATHINFO, &info,
                                   sizeof info) == sizeof info)
                    p.pfade.emplace_back(info.pvip.vip_path);
            }
            proc_vnodepathinfo wege;
            if (proc_pidinfo(pid, PROC_PIDVNODEPATHINFO, 0, &wege, sizeof wege) == sizeof wege)
                p.pfade.emplace_back(wege.pvi_cdir.vip_path);
        }
        liste.push_back(std::move(p));
    }
    return liste;
}

std::optional<std::string> prozessName(int pid) {
    char name[2 * MAXCOMLEN + 1] = {};
    if (kill(pid, 0) != 0 || proc_name(pid, name, sizeof name) <= 0) return std::nullopt;
    return std::string(name);
}

}  // namespace hainbrem::plattform
