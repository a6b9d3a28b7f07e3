// An interface library that does nothing, so that only the FMU's part of a step is measured.
#include "plant/access_interface.h"

extern "C" {

void blkStart(void*, TScicosAccessAPI2*) {}
void blkDepositPlantInput(void*, int, TScicosAccessAPI2*, double) {}
void blkRequestPlantOutput(void*, TScicosAccessAPI2*, double) {}
void blkTerminate(void*, TScicosAccessAPI2*, double) {}

} // extern "C"
