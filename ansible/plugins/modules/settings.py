#!/usr/bin/python
# -*- coding: utf-8 -*-
# MIT License (see LICENSE)

from __future__ import (absolute_import, division, print_function)

__metaclass__ = type

DOCUMENTATION = r"""
---
module: settings
short_description: Settings of an operator panel
version_added: 1.0.0
description:
  - Brings the settings of a panel to what is wanted, all of them or none.
  - Needs nothing on the panel but C(panelctl) and a login, no Python.
  - Sends only what differs. Settings that are not named stay as they are.
  - A change of the network takes effect at once. The panel takes it back by itself unless this
    action reaches it over its new address and confirms it. A panel that took it back is failed,
    with the reason.
  - Where the panel does not answer at C(ansible_host), but at the address that is wanted for it, it
    is taken to have that already. Let the host key be known by the panel's name
    (C(HostKeyAlias)), so that it is the same panel at both.
options:
  settings:
    description:
      - The wanted settings, in the words of C(panelctl export). C(version) may be left out.
      - A setting that the panel does not know is an error.
    type: dict
    required: true
  identity:
    description: Take the MAC addresses under C(identity) as well.
    type: bool
    default: false
  now:
    description:
      - Let the running adapters and the backlight follow at once.
      - Otherwise addresses and brightness count from the next start of the panel, and nothing has to
        be confirmed.
    type: bool
    default: true
  confirm:
    description:
      - Seconds within which a change of the network is taken back, unless the panel is reached over
        its new address.
    type: int
    default: 120
  address:
    description:
      - Where the panel is reached after the change.
      - Needed only when that is not the new C(ip) of the adapter over which it is reached now, as
        behind an address translation, or when it gets its address by DHCP.
    type: str
attributes:
  check_mode:
    description: Tells what would change, and changes nothing.
    support: full
  diff_mode:
    description: Shows each setting that differs, before and after.
    support: full
author:
  - The panel-settings authors (@panel-settings)
"""

EXAMPLES = r"""
- name: The same language and brightness everywhere
  panel.plant.settings:
    settings:
      display:
        brightness: 140
        language: english

- name: Another address, taken back after a minute unless the panel is reached there
  panel.plant.settings:
    settings:
      network:
        eth0:
          ip: 10.65.1.7
          mask: 255.255.0.0
          gateway: 10.65.0.1
    confirm: 60

- name: What was kept of the panel that stood here before
  panel.plant.settings:
    settings: "{{ lookup('file', 'kept/' ~ inventory_hostname ~ '.json') | from_json }}"
"""

RETURN = r"""
changes:
  description: Each setting that was changed or, in check mode, would be.
  returned: success
  type: list
  elements: dict
  sample:
    - place: display.brightness
      before: 140
      after: 200
address:
  description: Where the panel is reached now.
  returned: success
  type: str
  sample: 10.65.1.7
state:
  description:
    - What a panel has whose change failed. C(old) are the settings before, whole; C(new) the wanted
      ones, whole; C(unknown) means that the panel does not answer. It has one of both then too, since
      it takes a change back that nobody confirms.
  returned: failure
  type: str
  sample: old
"""
