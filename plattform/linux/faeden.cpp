// Linux: a thread's processor share is its nice value, and how soon it gives way its time slice;
// its disk share is the I/O priority that the block layer's schedulers (mq-deadline, BFQ)
// honour. All three are per thread.
#include <linux/ioprio.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "plattform/faeden.hpp"

namespace hainbrem::plattform {

namespace {

constexpr int nachrangNice = 19;
// the lowest best-effort level, not the idle class: that one would stall the walk behind any
// other reader of the disk, a build say, for as long as it reads
constexpr int nachrangIo = (IOPRIO_CLASS_BE << IOPRIO_CLASS_SHIFT) | 7;

// glibc wraps neither sched_setattr nor ioprio_*; "who"/pid 0 is the calling thread
struct SchedAttr {
    uint32_t size, policy;
    uint64_t flags;
    int32_t nice;
    uint32_t priority;
    uint64_t runtime, deadline, period;
};

}  // namespace

bool nachrangig() {
    // A high nice value alone still lets a walker finish its slice while the woken window waits
    // (up to 44 ms per click with dozens of walkers); a short slice (0.1 ms, the least Linux
    // 6.12 and later take; older ones ignore it) lets the window in at once. SCHED_IDLE would
    // too, but an idle thread never preempts on waking, so fewer directory reads are in flight
    // and a cold walk takes a quarter longer.
    SchedAttr a{};
    a.size = sizeof a;
    a.policy = SCHED_OTHER;
    a.nice = nachrangNice;
    a.runtime = 100'000;  // ns
    const bool cpu = ::syscall(SYS_sched_setattr, 0, &a, 0) == 0 ||
                     ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), nachrangNice) == 0;
    const bool io = ::syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, nachrangIo) == 0;
    return cpu && io;
}

bool laeuftNachrangig() {
    const int nice = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
    return nice == nachrangNice && ::syscall(SYS_ioprio_get, IOPRIO_WHO_PROCESS, 0) == nachrangIo;
}

}  // namespace hainbrem::plattform
