// The child process: the Java installer is started and, when wanted, waited for.
//
// Owns: the listing of the vector in the install log, the exit code that comes back. Leaves to
// others: the vector (installer_command), the fork and the wait (platform/child_process), why a
// program cannot be started (start_failure), what happens after the child (launch).
//
// Signals stay held once the installer has been started. One that was noted stays noted only when a
// signal ended the installer too, or when it came before the start: then the launch ends by it.
//
// A child whose program cannot be started returns from here like the parent: it goes on through the
// launch and ends with 255, which a waiting parent takes for the installer's exit code.
#pragma once

#include <string>
#include <vector>

// Starts the first element of `pArgv` with the whole vector. Parent: 0 at once without `bSync`,
// else the child's exit code (0 to 255), 255 when there is none to wait for, or -1 when a signal
// came before the start; a message says that no process can be made. Child: -1 after two messages
// when the program cannot be started. For a program in the scratch directory `scratch` they name
// another one as a remedy.
int SpawnProcess(const std::vector<std::string>& pArgv, bool bSync,
                 const std::string& scratch = "");

// The same for program `cmdline`, without the listing on the console and without the messages.
int forkprocess(const std::string& cmdline, const std::vector<std::string>& argv, bool sync);
