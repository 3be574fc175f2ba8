#pragma once
// How much of the machine a thread takes. A long walk that mostly waits on the disk gives way
// to the window and to whatever else the user does meanwhile.
namespace hainbrem::plattform {

// Puts the calling thread, and only it, behind the ordinary threads of the machine for the rest
// of its life: it gets the processors and the disk after them (Linux: nice 19 with a short time
// slice and the lowest best-effort I/O priority; macOS: the background quality of service).
// False when the system refused; the thread then runs on as before.
bool nachrangig();

// Whether the calling thread runs behind the others, as nachrangig() leaves it.
bool laeuftNachrangig();

}  // namespace hainbrem::plattform
