#include "mtd/FutureMtdWR.h"

int FutureMtdWR::hmi_type()
{
    return 6;
}
