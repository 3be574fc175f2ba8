#include "kern/befehl.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "basis/systemfehler.hpp"
#include "basis/zeichen.hpp"

extern char** environ;

namespace hainbrem::Befehl {

namespace {
struct Rohr {
    int lesen = -1, schreiben = -1;
    ~Rohr() {
        if (lesen >= 0) ::close(lesen);
        if (schreiben >= 0) ::close(schreiben);
    }
    bool oeffne() {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) return false;
        lesen = fds[0];
        schreiben = fds[1];
        return true;
    }
};
}  // namespace

Ergebnis<std::string> ausfuehren(const std::string& programm, const std::vector<std::string>& argumente) {
    return ausfuehren(programm, argumente, {});
}

Ergebnis<std::string> ausfuehren(const std::string& programm, const std::vector<std::string>& argumente,
                                 const std::vector<std::string>& umgebung) {
    if (programm.empty() || programm.front() != '/')
        return Fehlschlag{"„" + programm + "“ ist kein absoluter Pfad eines Programms"};
    Rohr aus, fehler;
    if (!aus.oeffne() || !fehler.oeffne()) return Fehlschlag{"„" + programm + "“ ließ sich nicht starten"};

    posix_spawn_file_actions_t aktionen;
    posix_spawn_file_actions_init(&aktionen);
    posix_spawn_file_actions_addopen(&aktionen, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&aktionen, aus.schreiben, 1);
    posix_spawn_file_actions_adddup2(&aktionen, fehler.schreiben, 2);

    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(programm.c_str()));
    for (const auto& a : argumente) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);

    // this process's variables, those given here replacing their namesakes
    std::vector<char*> envp;
    for (char** e = environ; e && *e; ++e) {
        const std::string_view v = *e;
        const std::string_view name = v.substr(0, v.find('='));
        bool ersetzt = false;
        for (const auto& u : umgebung)
            if (u.size() > name.size() && u.compare(0, name.size(), name) == 0 && u[name.size()] == '=') ersetzt = true;
        if (!ersetzt) envp.push_back(*e);
    }
    for (const auto& u : umgebung) envp.push_back(const_cast<char*>(u.c_str()));
    envp.push_back(nullptr);

    pid_t pid = -1;
    const int rc = ::posix_spawn(&pid, programm.c_str(), &aktionen, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&aktionen);
    if (rc != 0)
        return Fehlschlag{rc == ENOENT ? "„" + programm + "“ gibt es hier nicht"
                                       : "„" + programm + "“ ließ sich nicht starten: " + systemFehler(rc)};
    ::close(aus.schreiben);
    aus.schreiben = -1;
    ::close(fehler.schreiben);
    fehler.schreiben = -1;

    // Both pipes are drained together so a chatty stderr can never block the child.
    std::string ausgabe;
    std::array<char, 65536> puffer;
    std::array<pollfd, 2> warte{{{aus.lesen, POLLIN, 0}, {fehler.lesen, POLLIN, 0}}};
    int offen = 2;
    while (offen > 0) {
        if (::poll(warte.data(), warte.size(), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (size_t i = 0; i < warte.size(); ++i) {
            if (warte[i].fd < 0 || warte[i].revents == 0) continue;
            const ssize_t n = ::read(warte[i].fd, puffer.data(), puffer.size());
            if (n > 0) {
                if (i == 0) ausgabe.append(puffer.data(), static_cast<size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                warte[i].fd = -1;
                --offen;
            }
        }
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status)) return Fehlschlag{"„" + programm + "“ brach ab"};
    if (WEXITSTATUS(status) != 0)
        return Fehlschlag{"„" + programm + "“ endete mit Status " + std::to_string(WEXITSTATUS(status))};
    if (!istUtf8(ausgabe)) return Fehlschlag{"„" + programm + "“ gab Unlesbares aus"};
    return ausgabe;
}

}  // namespace hainbrem::Befehl
