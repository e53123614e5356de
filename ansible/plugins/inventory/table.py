# -*- coding: utf-8 -*-
# MIT License (see LICENSE)

from __future__ import (absolute_import, division, print_function)

__metaclass__ = type

DOCUMENTATION = r"""
name: table
short_description: The panels of a hall, from a table
version_added: 1.0.0
description:
  - Reads a file of comma-separated values with one line for each panel.
  - The column C(name) is what the panel is called, C(address) where it is reached now. Every other
    column is a setting by its place, such as C(network.eth0.ip) or C(display.brightness). An empty
    field leaves the setting as it is; several DNS servers are separated by blanks.
  - What a line sets is the variable C(panel_settings) of the panel, to be given to
    M(panel.plant.settings).
  - To SSH a panel is known by its name, whatever its address is (C(HostKeyAlias)). So the same panel
    is known at its new address, and another one at an old address is not taken for it.
  - The whole table is checked, and every error is told at once with its line. A name or an address
    that is there twice is an error, and so is an address wanted for one panel at which another one
    is reached now.
  - Ansible goes on without the hosts of an inventory that it cannot read, unless
    C(any_unparsed_is_failed) is set under C([inventory]) of C(ansible.cfg).
options:
  plugin:
    description: The name of this plugin, C(panel.plant.table).
    type: str
    required: true
    choices: [panel.plant.table]
  table:
    description: The file, relative to the one that names it.
    type: path
    required: true
  group:
    description: The group that the panels belong to.
    type: str
    default: panels
author:
  - The panel-settings authors (@panel-settings)
"""

EXAMPLES = r"""
# hall.yml
plugin: panel.plant.table
table: hall.csv

# hall.csv:
# name,address,network.eth0.ip,network.eth0.mask,network.eth0.gateway
# panel-001,10.64.1.1,10.65.1.1,255.255.0.0,10.65.0.1
"""

import csv
import os
import re

from ansible.errors import AnsibleParserError
from ansible.module_utils.common.text.converters import to_native
from ansible.plugins.inventory import BaseInventoryPlugin
from ansible_collections.panel.plant.plugins.plugin_utils.places import (
    ADDRESS, NO_ADDRESS, NUMBER, PLACES, SERVERS, SWITCH, nested)

NAME = re.compile(r"^[A-Za-z0-9][A-Za-z0-9._-]*$")
OCTET = r"(?:25[0-5]|2[0-4][0-9]|1[0-9][0-9]|[1-9]?[0-9])"
QUAD = re.compile(r"^%s(?:\.%s){3}$" % (OCTET, OCTET))
SWITCHES = {"true": True, "false": False, "yes": True, "no": False, "on": True, "off": False}


def value_of(kind, text):
    """The text of a field as the value of a setting. Raises ValueError."""
    if kind == SWITCH:
        if text.lower() not in SWITCHES:
            raise ValueError("it takes true or false, not '%s'" % text)
        return SWITCHES[text.lower()]
    if kind == NUMBER:
        if not text.isdigit():
            raise ValueError("it takes a whole number, not '%s'" % text)
        return int(text)
    words = text.split() if kind == SERVERS else [text]
    if kind in (SERVERS, ADDRESS):
        for word in words:
            if not QUAD.match(word):
                raise ValueError("'%s' is no address" % word)
    return words if kind == SERVERS else text


class Table(object):
    """The lines of the file, checked as a whole."""

    def __init__(self, lines):
        self.errors = []
        self.panels = []  # name, address, settings
        rows = csv.reader(lines)
        self._columns = [name.strip() for name in next(rows, [])]
        self._names, self._present, self._future = {}, {}, {}
        self._check_columns()
        if not self.errors:
            for row in rows:
                if any(field.strip() for field in row):
                    self._read(rows.line_num, [field.strip() for field in row])
            self._check_moves()

    def _fail(self, line, text):
        self.errors.append("line %d: %s" % (line, text))

    def _check_columns(self):
        for name in ("name", "address"):
            if name not in self._columns:
                self._fail(1, "there is no column '%s'" % name)
        for at, name in enumerate(self._columns):
            if name not in ("name", "address") and name not in PLACES:
                self._fail(1, "column %d: there is no setting '%s'" % (at + 1, name))
            if name in self._columns[:at]:
                self._fail(1, "the column '%s' is there twice" % name)

    def _read(self, line, row):
        if len(row) != len(self._columns):
            return self._fail(line, "has %d fields, not %d" % (len(row), len(self._columns)))
        fields = dict(zip(self._columns, row))
        name, address = fields.pop("name"), fields.pop("address")
        if not NAME.match(name):
            self._fail(line, "'%s' is no name" % name)
        if not address:
            self._fail(line, "the address at which it is reached is missing")
        self._note(self._names, name, line, "the name")
        self._note(self._present, address, line, "the address")
        values = []
        for place in self._columns:
            if fields.get(place):
                self._take(line, place, fields[place], values)
        self.panels.append((name, address, nested(values)))

    def _take(self, line, place, text, values):
        try:
            value = value_of(PLACES[place], text)
        except ValueError as why:
            return self._fail(line, "%s: %s" % (place, why))
        values.append((place, value))
        if place.endswith(".ip") and value != NO_ADDRESS:
            self._note(self._future, value, line, place)

    def _note(self, known, what, line, place):
        """Remembers that it is there; twice is an error."""
        if what and known.setdefault(what, line) != line:
            self._fail(line, "%s %s is in line %d already" % (place, what, known[what]))

    def _check_moves(self):
        for address, line in self._future.items():
            present = self._present.get(address, line)
            if present != line:
                self._fail(line, "%s is wanted, but the panel of line %d has it now"
                           % (address, present))


class InventoryModule(BaseInventoryPlugin):
    NAME = "panel.plant.table"

    def verify_file(self, path):
        return super(InventoryModule, self).verify_file(path) and path.endswith((".yml", ".yaml"))

    def parse(self, inventory, loader, path, cache=True):
        super(InventoryModule, self).parse(inventory, loader, path, cache)
        self._read_config_data(path)
        name = os.path.join(os.path.dirname(path), self.get_option("table"))
        try:
            with open(name) as file:
                table = Table(file)
        except (OSError, IOError, csv.Error, UnicodeDecodeError) as why:
            raise AnsibleParserError("cannot read %s: %s" % (name, to_native(why)))
        if table.errors:
            raise AnsibleParserError("%s has errors, so nothing is sent to any panel:\n  %s"
                                     % (name, "\n  ".join(table.errors)))
        self._fill(table, inventory)

    def _fill(self, table, inventory):
        group = inventory.add_group(self.get_option("group"))
        for name, address, settings in table.panels:
            inventory.add_host(name, group=group)
            inventory.set_variable(name, "ansible_host", address)
            inventory.set_variable(name, "panel_settings", settings)
            inventory.set_variable(name, "ansible_ssh_common_args", "-o HostKeyAlias=%s" % name)
