#include "dialogs/DialogRelease.h"

#include "dialogs/DateTimeDialog.h"
#include "dialogs/InputDialog.h"

void releaseDialogs()
{
    DateTimeDialog::release();
    InputDialog::release();
}
