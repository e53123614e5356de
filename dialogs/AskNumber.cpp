#include "dialogs/AskNumber.h"

#include "common/CallerGuard.h"
#include "dialogs/InputDialog.h"

std::optional<int> askNumber(int fontId, NumberRange range, int current, QSettings* settings,
                             const QDialog* asker)
{
    InputDialog* keypad =
        InputDialog::Instance(fontId, range.minimum, range.maximum, current, settings, nullptr);
    CallerGuard guard;
    guard.watch(keypad, asker);
    // The result is the value plus one, so that 0 can mean "no change".
    const int result = keypad->exec();
    return result < 1 ? std::nullopt : std::optional<int>(result - 1);
}
