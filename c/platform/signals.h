// The signals that end a launch: HUP, INT, QUIT, TERM, PIPE and XFSZ.
//
// Owns: the one handler, which only notes; who sent what was noted; the mask that holds signals
// back; giving all of it back to a child; the names of signals. Leaves to others: what is done
// about a noted signal (launch), the processes that signals are handed on to (child_process).
//
// What the caller ignores stays ignored and is never noted. SIGCHLD is no signal of this room's
// callers: it wakes await_signal, nothing else.
#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>

// From here on the signals are noted instead of ending the process.
void note_signals();

// The number of the first signal that was noted, or 0.
int noted_signal();

// What was noted has been answered: noted_signal is 0 again.
void forget_noted_signal();

// Holds the signals back; what comes meanwhile is noted once they are let in again. Begins with
// note_signals where that has not been done.
void hold_signals();
void let_signals_in();

// The mask with which the signals come in, for calls that change the mask while they wait.
const sigset_t& letting_in();

// Waits for any signal, SIGCHLD included. The signals are held before and after.
void await_signal();

// Sends `child` what processes have sent to this one since the last call: HUP, INT, QUIT and TERM.
// From the terminal it has them already, but for the hangup that only the leader of a session gets.
void hand_on_signals(pid_t child);

// Gives this process, a child that is about to become another program, the dispositions and the
// mask that the launcher was given; but SIGCHLD its default, without which the program could wait
// for no child of its own. Ends by what it was sent while the signals were held.
void give_signals_back();

// Ends this process by signal `number`, so that its caller sees that; without a core file.
[[noreturn]] void end_by_signal(int number);

// The name of signal `number`, as in "SIGTERM".
std::string signal_name(int number);
