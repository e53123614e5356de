#pragma once

#include "mtd/CommonDevMtdWR.h"

/// The flash of a later family of panels, which is used in the same way.
class FutureMtdWR : public CommonDevMtdWR
{
public:
    /// 6.
    int hmi_type() override;
};
