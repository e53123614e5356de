# -*- coding: utf-8 -*-
# MIT License (see LICENSE)

from __future__ import (absolute_import, division, print_function)

__metaclass__ = type

import json
import time

from ansible.errors import AnsibleConnectionFailure
from ansible.plugins.action import ActionBase
from ansible_collections.panel.plant.plugins.plugin_utils.panel import Panel, PanelError, reason
from ansible_collections.panel.plant.plugins.plugin_utils.places import nested

CHANGED, FAILED, SAME = 0, 1, 3  # how panelctl import ends
STILL_RUNS = 75  # how the look at an import ends that has not ended
LOOK_S = 0.5  # how often it is looked whether the panel is there
# What the panel may need, beyond the time to confirm, to take everything back.
GRACE_S = 60

# Begins an import that may take away the connection over which it is begun: on its own, and a moment
# later, so that this answer arrives. It leaves its end in a folder whose name is printed.
BEGIN = """
d=$(mktemp -d /tmp/panelctl-import.XXXXXX) && cat >"$d/settings" && echo "$d" || exit
( trap '' HUP INT TERM PIPE; sleep 1
  panelctl import %s "$d/settings" >"$d/output" 2>&1; echo $? >"$d/ended"; mv "$d/ended" "$d/status"
) </dev/null >/dev/null 2>&1 &"""

# Looks how it ended: with its own status, or STILL_RUNS. A panel that was started meanwhile does not
# have the folder any more.
LOOK = """
d=%s; s=0
if [ -d "$d" ]; then
    [ -e "$d/status" ] || exit 75
    s=$(cat "$d/status"); [ "$s" -eq 0 ] || cat "$d/output" >&2
fi
[ "$s" -eq 0 ]"""

ARGUMENTS = {
    "settings": {"type": "dict", "required": True},
    "identity": {"type": "bool", "default": False},
    "now": {"type": "bool", "default": True},
    "confirm": {"type": "int", "default": 120},
    "address": {"type": "str"},
}


class ActionModule(ActionBase):
    TRANSFERS_FILES = False
    _supports_check_mode = True
    _supports_async = False

    def run(self, tmp=None, task_vars=None):
        result = super(ActionModule, self).run(tmp, task_vars)
        unused, self._args = self.validate_argument_spec(ARGUMENTS)
        self._panel = Panel(self)
        self._wanted = dict(self._args["settings"], version=self._args["settings"].get("version", 1))
        try:
            self._bring_to(result)
        except PanelError as why:
            result.update(failed=True, msg=str(why))
            result.setdefault("state", "old")
            result["changed"] = result["state"] != "old"
        return result

    def _bring_to(self, result):
        if not 1 <= self._args["confirm"] <= 86400:
            raise PanelError("confirm is 1 to 86400 seconds, not %d" % self._args["confirm"])
        changes = self._panel.wherever_it_is(self._compare, self._wanted, self._args["address"])
        result["changes"] = changes
        result["changed"] = bool(changes)
        result["diff"] = self._diff(changes)
        if changes and not self._play_context.check_mode:
            self._change(changes, result)
        result["address"] = self._panel.address

    def _compare(self):
        """Each setting that differs, with what it is and what it will be, as the panel sees it."""
        status, output, errors = self._panel.run(
            "panelctl import --dry-run --json%s -" % self._identity(), json.dumps(self._wanted))
        if status == SAME:
            return []
        if status != CHANGED:
            raise PanelError(reason(errors) or "panelctl ends with %d" % status)
        return json.loads(output)

    def _identity(self):
        return " --identity" if self._args["identity"] else ""

    def _diff(self, changes):
        def lines(moment):
            return "".join("%s: %s\n" % (change["place"], json.dumps(change[moment]))
                           for change in changes)
        return {"before": lines("before"), "after": lines("after")}

    def _change(self, changes, result):
        text = json.dumps(nested([(change["place"], change["after"]) for change in changes]))
        touches_network = any(change["place"].startswith("network.") for change in changes)
        if self._args["now"] and touches_network:
            self._change_network(changes, text, result)
        else:
            self._import(text)

    def _import(self, text):
        status, unused, errors = self._panel.run(
            "panelctl import%s%s -" % (" --now" if self._args["now"] else "", self._identity()), text)
        if status not in (CHANGED, SAME):
            raise PanelError(reason(errors) or "panelctl ends with %d" % status)

    def _change_network(self, changes, text, result):
        old, new = self._panel.address, self._address_after(changes)
        options = "--now --confirm %d%s" % (self._args["confirm"], self._identity())
        status, folder, errors = self._panel.run(BEGIN % options, text)
        if status != 0:
            raise PanelError(reason(errors) or "the import does not begin")
        result["state"] = "unknown"
        # The panel begins to count later than this does: whoever gives up here has not confirmed what
        # is being taken back there.
        self._confirm_at(new, old, folder.strip(), time.monotonic() + self._args["confirm"], result)
        del result["state"]

    def _address_after(self, changes):
        """Where the panel will be: at the new address of the adapter that has the present one."""
        if self._args["address"]:
            return self._args["address"]
        for change in changes:
            if change["place"].endswith(".ip") and change["before"] == self._panel.address:
                return change["after"]
        return self._panel.address

    def _confirm_at(self, new, old, folder, give_up, result):
        """Comes back over the new address and confirms, or finds out why it cannot."""
        address = new
        while time.monotonic() < give_up:
            self._panel.go_to(address)
            done = self._panel.try_run(LOOK % folder)
            if done and done[0] == STILL_RUNS:
                time.sleep(LOOK_S)
            elif done and done[0] != 0:
                result["state"] = "old"
                raise PanelError(reason(done[2]) or "the import failed")
            elif done and address == new:
                return self._confirm(folder, result)
            else:  # not there, or there still at its old address
                time.sleep(LOOK_S)
                address = old if address == new else new
        self._tell_what_it_has(new, old, result)

    def _confirm(self, folder, result):
        status, unused, errors = self._panel.run("panelctl confirm && rm -rf %s" % folder)
        if status == 0:
            return
        result["state"] = "new" if not self._compare() else "old"
        if result["state"] == "old":
            raise PanelError("the panel has taken everything back: %s" % reason(errors))

    def _tell_what_it_has(self, new, old, result):
        """It was not reached in time, and takes everything back by itself."""
        seconds = self._args["confirm"]
        give_up = time.monotonic() + GRACE_S
        while time.monotonic() < give_up:
            for address in (old, new):
                self._panel.go_to(address)
                try:
                    result["state"] = "old" if self._compare() else "new"
                except AnsibleConnectionFailure:
                    continue
                if result["state"] == "old":
                    raise PanelError("not reached at %s within %d seconds; the panel has taken"
                                     " everything back and is at %s" % (new, seconds, address))
            time.sleep(LOOK_S)
        raise PanelError("not reached at %s within %d seconds, nor at %s since; the panel takes"
                         " everything back by itself" % (new, seconds, old))
