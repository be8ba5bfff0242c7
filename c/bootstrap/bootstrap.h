// The bootstrap: the installer, its patch tool and a Java runtime are brought from the stage into
// the scratch directory, and the locations are rewritten to point there.
//
// Owns: which component goes where, in which order, and what a failure of each means. Leaves to
// others: copying and unpacking (tree), versions (version), the report (report), and whether there
// is a bootstrap at all (launch).
//
// Copy mode (an installed home) copies directory trees. Component mode (a distribution) unpacks the
// jars of "../stage/Components/NAME/VERSION/1/DataFiles" with the unzip beside the launcher. Stage
// paths are relative to the working directory.
#pragma once

#include <string>
#include <vector>

// What a bootstrap works with; a reference that is not const is rewritten to its scratch location.
struct BootstrapInput {
    const std::string& tempLoc; // scratch directory
    std::string& zulStgLoc;
    std::string& zulCoreStgLoc;
    std::string& zulCoreMinStgLoc;
    std::string& tesselStgLoc;
    std::string& jreStgLoc;
    const std::string& jreFullLoc;         // a runtime given beforehand, or empty
    const std::string& zulVersion;         // not used
    const std::string& jreVersion;         // not used
    std::string& imageLoc;                 // may be empty
    std::string& prereqConfigLoc;          // may be empty
    const std::string& startupLoc;         // holds unzip for components not known by name
    const std::string& startupLocOriginal; // holds unzip for the known ones
    long lBootStrapSz;                     // room needed, in kilobytes
    bool _bDistribution;                   // component mode
    const std::string& sExtJlibString;
    const std::string& sExtLibString;
    const std::string& sExtBinString;
    bool bBootStrapJRE;
    const std::string& invPtrLocation;
    const std::string& gsTimeStamp;
    const std::string& gsLogFileName;
    const std::vector<std::string>& sBootStrapComps; // NAME or NAME:VERSION; empty: all known ones
    const std::string& access;                       // directory of access files, or empty
    bool bBootStrapOnly;
    bool bNoBootStrap;      // nothing is unpacked, yet every location is rewritten
    bool bShipHomeLocation; // work in startupLocOriginal, end in startupLoc
};

// The step at which a bootstrap failed, by the key of its name, and what was to be brought then: a
// component, a directory, or the setting that was not met.
struct BootstrapFailure {
    const char* step = "";
    std::string component;
};

// Runs the bootstrap. 10 done; 0 when component mode selected no installer component and nothing
// else was brought; 30 failed. Where room or a place that cannot be written is the reason, that is
// said here.
int doBootStrap(const BootstrapInput& input);

// Of the last bootstrap that failed.
const BootstrapFailure& last_bootstrap_failure();

// Whether the runtime is among the components of a list as in BootstrapInput.
bool names_runtime(const std::vector<std::string>& components);
