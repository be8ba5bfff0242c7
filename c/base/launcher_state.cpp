#include "base/launcher_state.h"

namespace launcher_state {

void reset() {
    _bSilent = _bDebug = _bMemory = _bPrereqSession = _bJreLocation = _bPrintTime = false;
    noWaitOption = _bDistribution = _bisJre = false;
    useInventoryLocation = useFromLocForPrereq = false;
    nJavaOptionsSpecified = 0;
    iUmask = 0;
    for (std::string* text :
         {&disableJrePrompt, &useJreOnly, &useJdkOnly, &gsTimeStamp, &scratchPath,
          &prereqLogLocation, &inventoryLocation, &sUmask, &sUmaskLogMsg})
        text->clear();
    gsLogFileName = "/installActions";
    sInvPtrLocation = "/var/opt/talvex/talInst.loc";
    _lpCommand = nullptr;
}

} // namespace launcher_state
