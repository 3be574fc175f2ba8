// macOS: the quality-of-service class of a thread sets both its processor and its disk share.
// Not built or tested here.
#include <pthread.h>
#include <pthread/qos.h>

#include "plattform/faeden.hpp"

namespace hainbrem::plattform {

bool nachrangig() { return ::pthread_set_qos_class_self_np(QOS_CLASS_BACKGROUND, 0) == 0; }

bool laeuftNachrangig() { return ::qos_class_self() == QOS_CLASS_BACKGROUND; }

}  // namespace hainbrem::plattform
