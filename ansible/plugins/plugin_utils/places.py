# -*- coding: utf-8 -*-
# MIT License (see LICENSE)
"""The settings that panelctl knows, by the place they have in its JSON."""

from __future__ import (absolute_import, division, print_function)

__metaclass__ = type

SWITCH, NUMBER, TEXT, ADDRESS, SERVERS = "switch", "number", "text", "address", "servers"

_ADAPTER = {"ip": ADDRESS, "mask": TEXT, "gateway": ADDRESS, "dhcp": SWITCH, "off": SWITCH,
            "dns": SERVERS}

# What kind of value each one has.
PLACES = {
    "display.brightness": NUMBER,
    "display.language": TEXT,
    "sound.buzzer": SWITCH,
    "network.default_adapter": TEXT,
    "identity.eth0_mac": TEXT,
    "identity.eth1_mac": TEXT,
}
for _name in ("eth0", "eth1"):
    for _member, _kind in _ADAPTER.items():
        PLACES["network.%s.%s" % (_name, _member)] = _kind

NO_ADDRESS = "0.0.0.0"


def flat(settings, place=""):
    """Each value of nested settings by its place, in the order in which they are given."""
    if not isinstance(settings, dict):
        return [(place, settings)]
    found = []
    for name, value in settings.items():
        found += flat(value, "%s.%s" % (place, name) if place else str(name))
    return found


def put(settings, place, value):
    """Puts a value into nested settings."""
    names = place.split(".")
    for name in names[:-1]:
        settings = settings.setdefault(name, {})
    settings[names[-1]] = value


def nested(values):
    """The settings of pairs of place and value, as panelctl import takes them."""
    settings = {"version": 1}
    for place, value in values:
        put(settings, place, value)
    return settings
