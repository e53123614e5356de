<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1">
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
        <translation>文件管理</translation>
    </message>
    <message>
        <source>General</source>
        <translation>通用设置</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>网络设置</translation>
    </message>
    <message>
        <source>Restart</source>
        <translation>重启</translation>
    </message>
    <message>
        <source>SD</source>
        <translation>SD</translation>
    </message>
    <message>
        <source>Status:</source>
        <translation>接口状态：</translation>
    </message>
    <message>
        <source>System Settings</source>
        <translation>系统设置</translation>
    </message>
    <message>
        <source>u disk1</source>
        <translation>U盘1</translation>
    </message>
    <message>
        <source>u disk2</source>
        <translation>U盘2</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>版本信息</translation>
    </message>
    <message>
        <source>WIFI</source>
        <translation>WIFI设置</translation>
    </message>
</context>
<context>
    <name>GeneralSettings</name>
    <message>
        <source>Auto Backlight Off:</source>
        <translation>自动息屏：</translation>
    </message>
    <message>
        <source>Brightness:</source>
        <translation>亮度：</translation>
    </message>
    <message>
        <source>Buzzer:</source>
        <translation>蜂鸣器：</translation>
    </message>
    <message>
        <source>Date&amp;Time:</source>
        <translation>日期与时间：</translation>
    </message>
    <message>
        <source>Fri</source>
        <translation>周五</translation>
    </message>
    <message>
        <source>Initial Window:</source>
        <translation>初始画面：</translation>
    </message>
    <message>
        <source>Min</source>
        <translation>分</translation>
    </message>
    <message>
        <source>Mon</source>
        <translation>周一</translation>
    </message>
    <message>
        <source>Sat</source>
        <translation>周六</translation>
    </message>
    <message>
        <source>setting</source>
        <translation>修改</translation>
    </message>
    <message>
        <source>Sun</source>
        <translation>周日</translation>
    </message>
    <message>
        <source>Thu</source>
        <translation>周四</translation>
    </message>
    <message>
        <source>Tue</source>
        <translation>周二</translation>
    </message>
    <message>
        <source>Wed</source>
        <translation>周三</translation>
    </message>
</context>
<context>
    <name>NetworkSettings</name>
    <message>
        <source>Auto</source>
        <translation>自动</translation>
    </message>
    <message>
        <source>Backup DNS Server:</source>
        <translation>DNS2：</translation>
    </message>
    <message>
        <source>Default gateway info</source>
        <translation>默认上网卡信息：</translation>
    </message>
    <message>
        <source>Disable Network</source>
        <translation>禁用网络：</translation>
    </message>
    <message>
        <source>DNS Server Info</source>
        <translation>DNS服务器信息：</translation>
    </message>
    <message>
        <source>Dynamic IP</source>
        <translation>动态IP</translation>
    </message>
    <message>
        <source>First DNS Server:</source>
        <translation>DNS1：</translation>
    </message>
    <message>
        <source>Gateway:</source>
        <translation>    网关：</translation>
    </message>
    <message>
        <source>IP Address:</source>
        <translation>IP地址：</translation>
    </message>
    <message>
        <source>IP is conflict with eth0!</source>
        <translation>IP地址与有线网络0冲突！</translation>
    </message>
    <message>
        <source>IP is conflict with eth1!</source>
        <translation>IP地址与有线网络1冲突！</translation>
    </message>
    <message>
        <source>MAC Address:</source>
        <translation>MAC地址：</translation>
    </message>
    <message>
        <source>Network:</source>
        <translation>网络：</translation>
    </message>
    <message>
        <source>OuterNet State:</source>
        <translation>外网Ping测试：</translation>
    </message>
    <message>
        <source>Set as default gateway</source>
        <translation>设为默认上网卡</translation>
    </message>
    <message>
        <source>Setting:</source>
        <translation>设置：</translation>
    </message>
    <message>
        <source>Static IP</source>
        <translation>静态IP</translation>
    </message>
    <message>
        <source>Subnet Mask:</source>
        <translation>子网掩码：</translation>
    </message>
    <message>
        <source>test</source>
        <translation>测试</translation>
    </message>
    <message>
        <source>test failed</source>
        <translation>测试失败</translation>
    </message>
    <message>
        <source>test successful</source>
        <translation>测试成功</translation>
    </message>
    <message>
        <source>Tips</source>
        <translation>提示信息</translation>
    </message>
    <message>
        <source>wired network</source>
        <translation>有线网络</translation>
    </message>
</context>
<context>
    <name>InputDialog</name>
    <message>
        <source>Input number is out of range!</source>
        <translation>输入数字超出范围！</translation>
    </message>
    <message>
        <source>Tips</source>
        <translation>提示信息</translation>
    </message>
</context>
</TS>
