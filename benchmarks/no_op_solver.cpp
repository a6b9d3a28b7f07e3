// An interface library that does nothing: what is left of a step is the FMU's own.
#include "plant/access_interface.h"

extern "C" {

void blkStart(void*, TScicosAccessAPI2*) {}
void blkDepositPlantInput(void*, int, TScicosAccessAPI2*, double) {}
void blkRequestPlantOutput(void*, TScicosAccessAPI2*, double) {}
void blkTerminate(void*, TScicosAccessAPI2*, double) {}

} // extern "C"
