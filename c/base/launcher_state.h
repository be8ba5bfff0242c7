// The launch-wide flags and texts.
//
// Owns: what several rooms read while a launch runs, with its defaults. Leaves to others: the
// settings of talparam.ini (settings), what only the launch sequence knows (options, launch) and
// the logs' own state (log/install_log).
#pragma once

#include <string>

namespace launcher_state {

// What the command line said.
inline bool _bSilent = false; // no questions, no display check; -SILENT, -HELP, many commands
inline bool _bDebug = false;  // list the arguments of the installer; -DEBUG
inline bool _bMemory = false; // let the JVM report its collections; -MEMORY
inline bool _bPrereqSession = false;  // only check prerequisites; -PREREQCHECKER
inline bool _bJreLocation = false;    // the operator named a Java runtime; -JRELOC
inline bool _bPrintTime = false;      // -PRINTTIME
inline bool noWaitOption = false;     // -NOWAIT
inline int nJavaOptionsSpecified = 0; // arguments that begin with -J

// What the parameter file and the checks found out.
inline bool _bDistribution = false;  // started from a stage, not from an installed home
inline bool _bisJre = false;         // the Java home is a runtime, not a development kit
inline std::string disableJrePrompt; // "TRUE" forbids the question for a Java runtime
inline std::string useJreOnly;       // "TRUE" demands a runtime
inline std::string useJdkOnly;       // "TRUE" demands a development kit

// Names and places.
inline std::string gsTimeStamp;           // names scratch directory and logs
inline std::string gsLogFileName;         // base name of the install log, with its "/"
inline std::string scratchPath;           // base of the scratch directory; -SCRATCHPATH
inline std::string prereqLogLocation;     // logs of a prerequisite session; -PREREQLOGLOC
inline std::string sInvPtrLocation;       // the inventory pointer file; -INVPTRLOC
inline std::string inventoryLocation;     // value of INVENTORY_LOCATION
inline bool useInventoryLocation = false; // INVENTORY_LOCATION was given
inline bool useFromLocForPrereq = false;  // the prerequisite location came from FROM_LOCATION

// The file-creation mask of the parameter file.
inline int iUmask = 0;
inline std::string sUmask;
inline std::string sUmaskLogMsg;

// Reserved: part of the state that other platforms' launchers share; nothing here uses it.
inline const char* _lpCommand = nullptr;

// Gives every value its default, the two texts that have one among them: a launch begins with it.
// They are not set above, where nothing could be said of memory that runs out.
void reset();

} // namespace launcher_state
