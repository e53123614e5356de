# -*- coding: utf-8 -*-
# MIT License (see LICENSE)

from __future__ import (absolute_import, division, print_function)

__metaclass__ = type

import json

from ansible.plugins.action import ActionBase
from ansible_collections.panel.plant.plugins.plugin_utils.panel import Panel, reason


class ActionModule(ActionBase):
    TRANSFERS_FILES = False

    def run(self, tmp=None, task_vars=None):
        result = super(ActionModule, self).run(tmp, task_vars)
        unused, args = self.validate_argument_spec({"identity": {"type": "bool", "default": True}})
        panel = Panel(self)
        option = " --identity" if args["identity"] else ""
        wanted = (task_vars or {}).get("panel_settings") or {}
        status, output, errors = panel.wherever_it_is(
            lambda: panel.run("panelctl --version && panelctl export" + option), wanted)
        if status != 0:
            result.update(failed=True, msg=reason(errors) or "panelctl ends with %d" % status)
            return result
        version, unused, settings = output.partition("\n")
        result["ansible_facts"] = {"panel": json.loads(settings),
                                   "panelctl_version": version.split()[-1]}
        return result
