"""How long the tests of the simulator wait for something that has to come."""

import time

# A machine may be slow and busy; only what hangs or never comes takes as long as this.
PATIENCE_S = 240


def wait_for(condition, what):
    """Waits until the condition holds, and returns what it is then; fails when it never does."""
    deadline = time.monotonic() + PATIENCE_S
    while not (met := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.05)
    return met
