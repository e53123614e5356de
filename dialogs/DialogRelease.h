#pragma once

/// Deletes the dialogs that live as long as the library, if they were made. Called when the
/// library is unloaded while the application goes on.
void releaseDialogs();
