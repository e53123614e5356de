#pragma once

#include "fileio/Export.h"
#include "mtd/CommonDevMtdWR.h"

/// The flash of a later family of panels, which is used in the same way.
class PANEL_EXPORT FutureMtdWR : public CommonDevMtdWR
{
public:
    /// 6.
    int hmi_type() override;
};
