<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="us">
<context>
    <name>Settings</name>
    <message>
        <source>Chinese</source>
        <translation>中文</translation>
    </message>
    <message>
        <source>English</source>
        <translation>EN</translation>
    </message>
    <message>
        <source>File Manager</source>
        <translation>File Manager</translation>
    </message>
    <message>
        <source>General</source>
        <translation>General</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Network</translation>
    </message>
    <message>
        <source>Restart</source>
        <translation>Restart</translation>
    </message>
    <message>
        <source>SD</source>
        <translation>SD</translation>
    </message>
    <message>
        <source>Status:</source>
        <translation>Status:</translation>
    </message>
    <message>
        <source>System Settings</source>
        <translation>System Settings</translation>
    </message>
    <message>
        <source>u disk1</source>
        <translation>u disk1</translation>
    </message>
    <message>
        <source>u disk2</source>
        <translation>u disk2</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>WIFI</source>
        <translation>WIFI</translation>
    </message>
</context>
<context>
    <name>GeneralSettings</name>
    <message>
        <source>Auto Backlight Off:</source>
        <translation>Auto Backlight Off:</translation>
    </message>
    <message>
        <source>Brightness:</source>
        <translation>Brightness:</translation>
    </message>
    <message>
        <source>Buzzer:</source>
        <translation>Buzzer:</translation>
    </message>
    <message>
        <source>Date&amp;Time:</source>
        <translation>Date&amp;Time:</translation>
    </message>
    <message>
        <source>Fri</source>
        <translation>Fri.</translation>
    </message>
    <message>
        <source>Initial Window:</source>
        <translation>Initial Window:</translation>
    </message>
    <message>
        <source>Min</source>
        <translation>Min</translation>
    </message>
    <message>
        <source>Mon</source>
        <translation>Mon.</translation>
    </message>
    <message>
        <source>Sat</source>
        <translation>Sat.</translation>
    </message>
    <message>
        <source>setting</source>
        <translation>setting</translation>
    </message>
    <message>
        <source>Sun</source>
        <translation>Sun.</translation>
    </message>
    <message>
        <source>Thu</source>
        <translation>Thu.</translation>
    </message>
    <message>
        <source>Tue</source>
        <translation>Tue.</translation>
    </message>
    <message>
        <source>Wed</source>
        <translation>Wed.</translation>
    </message>
</context>
<context>
    <name>NetworkSettings</name>
    <message>
        <source>Backup DNS Server:</source>
        <translation>DNS2:</translation>
    </message>
    <message>
        <source>Default gateway info</source>
        <translation>Default Network Adapter Info:</translation>
    </message>
    <message>
        <source>Disable Network</source>
        <translation>Disable Network:</translation>
    </message>
    <message>
        <source>DNS Server Info</source>
        <translation>DNS Server Info:</translation>
    </message>
    <message>
        <source>First DNS Server:</source>
        <translation>DNS1:</translation>
    </message>
    <message>
        <source>Gateway:</source>
        <translation>Gateway:</translation>
    </message>
    <message>
        <source>IP Address:</source>
        <translation>IP Address:</translation>
    </message>
    <message>
        <source>IP is conflict with eth0!</source>
        <translation>IP is conflict with eth0!</translation>
    </message>
    <message>
        <source>IP is conflict with eth1!</source>
        <translation>IP is conflict with eth1!</translation>
    </message>
    <message>
        <source>Network:</source>
        <translation>Network:</translation>
    </message>
    <message>
        <source>OuterNet State:</source>
        <translation>OuterNet Ping Test:</translation>
    </message>
    <message>
        <source>Set as default gateway</source>
        <translation>Set Default Network Adapter</translation>
    </message>
    <message>
        <source>Subnet Mask:</source>
        <translation>Subnet Mask:</translation>
    </message>
    <message>
        <source>wired network</source>
        <translation>network</translation>
    </message>
</context>
</TS>
