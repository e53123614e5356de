#pragma once

#include <optional>

class QDialog;
class QSettings;

/// The numbers that the keypad accepts, both included. From 0 on; see InputDialog.
struct NumberRange
{
    int minimum;
    int maximum;
};

/// Opens the keypad on @p current and returns the number entered; nothing when it was closed, or
/// when ENTER was pressed with nothing typed. Blocks until it is closed: what the caller lives in
/// may be gone by then. The keypad closes by itself when the window of @p settings is deleted,
/// and when @p asker, the dialog that asks, closes. @p fontId as for PanelFont.
std::optional<int> askNumber(int fontId, NumberRange range, int current, QSettings* settings,
                             const QDialog* asker = nullptr);
