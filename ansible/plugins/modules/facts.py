#!/usr/bin/python
# -*- coding: utf-8 -*-
# MIT License (see LICENSE)

from __future__ import (absolute_import, division, print_function)

__metaclass__ = type

DOCUMENTATION = r"""
---
module: facts
short_description: What is set on an operator panel
version_added: 1.0.0
description:
  - Reads all settings of a panel. Changes nothing.
  - Needs nothing on the panel but C(panelctl) and a login, no Python.
  - A panel that does not answer at C(ansible_host) is asked at the address that the variable
    C(panel_settings) wants for it.
options:
  identity:
    description: Read the MAC addresses as well.
    type: bool
    default: true
attributes:
  check_mode:
    description: It changes nothing.
    support: full
author:
  - The panel-settings authors (@panel-settings)
"""

EXAMPLES = r"""
- name: Read what is set
  panel.plant.facts:

- name: Keep it, to be set again on a panel that replaces this one
  ansible.builtin.copy:
    content: "{{ ansible_facts.panel | to_nice_json }}"
    dest: "kept/{{ inventory_hostname }}.json"
    mode: "0644"
  delegate_to: localhost
"""

RETURN = r"""
ansible_facts:
  description: The settings.
  returned: success
  type: dict
  contains:
    panel:
      description: All of them, in the words of C(panelctl export).
      type: dict
      returned: success
      sample:
        version: 1
        display:
          brightness: 140
          language: english
    panelctl_version:
      description: Of the program on the panel.
      type: str
      returned: success
      sample: 1.0.0
"""
