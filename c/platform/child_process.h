// Child processes: started so that no signal is lost on the way, and waited for.
//
// Owns: the fork, the wait for one child and no other, the shell that runs a command. Leaves to
// others: what is noted about signals (signals), which programs are run and what is said of their
// end.
#pragma once

#include <initializer_list>
#include <string>
#include <sys/types.h>

// Forks. Parent: the child's id, or -1 with the system's reason, EINTR when a signal had been noted
// by then: the child then does nothing. Child: 0. With a child the signals are held in both from
// here on; a child gives them back before it becomes another program.
pid_t start_child();

// Waits until `child` has ended, handing on what is sent to this process meanwhile; `status` is as
// waitpid tells it. The signals are held before and after. Other children, which a script may have
// left to this process, are reaped and passed over. False when the system knows no such child.
bool wait_for_child(int& status, pid_t child);

// Runs one simple command of the shell, redirections included, without the environment variables
// `hidden`. The command takes the shell's place, so that a signal reaches it. The result is as
// waitpid tells it, or -1 with the system's reason in errno when there was no process to run it in
// or its end could not be learnt.
int run_shell_command(const std::string& command, std::initializer_list<const char*> hidden = {});
