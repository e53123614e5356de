# -*- coding: utf-8 -*-
# MIT License (see LICENSE)
"""A panel at the other end of a connection, of which nothing is needed but a shell and panelctl."""

from __future__ import (absolute_import, division, print_function)

__metaclass__ = type

from ansible.errors import AnsibleConnectionFailure
from ansible_collections.panel.plant.plugins.plugin_utils.places import NO_ADDRESS, flat

# A connection whose other end has gone ends by itself after three of these, in seconds.
ALIVE_S = 3


class PanelError(Exception):
    """Something that is told to the person at the control room."""


def reason(text):
    """What panelctl says, without its name in front of each line."""
    lines = [line for line in text.replace("\r", "").split("\n") if line.strip()]
    return "; ".join(line[len("panelctl: "):] if line.startswith("panelctl: ") else line
                     for line in lines)


class Panel(object):
    """Runs commands on a panel, over whichever of its addresses answers."""

    def __init__(self, action):
        self._action = action
        self._connection = action._connection
        self._notice_gone_ends()

    def _notice_gone_ends(self):
        if not self._has("ssh_extra_args"):
            return
        given = self._connection.get_option("ssh_extra_args") or ""
        self._connection.set_option(
            "ssh_extra_args", "%s -o ServerAliveInterval=%d -o ServerAliveCountMax=3"
            % (given, ALIVE_S))

    def _has(self, option):
        try:
            self._connection.get_option(option)
        except (KeyError, AttributeError):
            return False
        return True

    @property
    def address(self):
        if self._has("host"):
            return self._connection.get_option("host")
        return self._action._play_context.remote_addr

    def go_to(self, address):
        """Talks to it over this address from now on, over a connection that is made new."""
        if hasattr(self._connection, "reset"):
            self._connection.reset()
        if self._has("host"):
            self._connection.set_option("host", address)
        self._action._play_context.remote_addr = address

    def wherever_it_is(self, do, settings, *others):
        """What do() returns. A panel that does not answer where it was may be at one of the addresses
        that its settings want for it, or at one of the others: it is asked there."""
        try:
            return do()
        except AnsibleConnectionFailure as failure:
            values = dict(flat(settings))
            wanted = list(others) + [values.get("network.%s.ip" % name) for name in ("eth0", "eth1")]
            first = self.address
            for address in wanted:
                if not address or address in (NO_ADDRESS, first):
                    continue
                self.go_to(address)
                try:
                    return do()
                except AnsibleConnectionFailure:
                    continue
            raise failure

    def run(self, script, given=""):
        """Status, output and errors of a script of the shell. There is always an input, so that no
        terminal is made, which would mix output and errors."""
        done = self._action._low_level_execute_command(
            "{ %s\n}" % script, in_data=(given + "\n").encode("utf-8"))
        return done["rc"], done["stdout"], done["stderr"]

    def try_run(self, script, given=""):
        """The same, None when the panel does not answer."""
        try:
            return self.run(script, given)
        except AnsibleConnectionFailure:
            return None
