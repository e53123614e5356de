"""The network that a live panel is plugged into: what it answers, how it fails, what it leaves."""

import os
import pathlib
import re
import select
import signal
import subprocess
import sys
import unittest

from panel_under_test import Panel
from patience import PATIENCE_S, wait_for
from sandbox_world import World

BUILD = sys.argv.pop(1)

MAC_OFFSETS = (33, 166)
ADDRESS_OFFSETS = (41, 174)  # the gateway and the mask follow
OUTSIDE = "203.0.113.10"
LIVE = ("--mode", "live")

# The settings page's own command lines.
CLIENT = "udhcpc -i eth{0} -t 100 -T 1 -A 1 -p /var/run/udhcpc{0}.pid"
PING = "/bin/sh -c 'ping www.example.com -W 3 -c 1' | grep -c ttl"

# bound N waits until an adapter has an address, address N prints it, up N gives it a new device's.
SHORT_WAYS = """
    bound() { until busybox ifconfig eth$1 | busybox grep -q 'inet addr'; do sleep 0.05; done; }
    address() { busybox ifconfig eth$1 | sed -n 's/.*inet addr:\\([0-9.]*\\).*/\\1/p'; }
    up() { ifconfig eth$1 192.168.$(($1 + 1)).10 netmask 255.255.255.0; }
    """


def quad(octets):
    return ".".join(map(str, octets))



def kill(process):
    """Returns when it has ended and whoever reads from it can know that."""
    descriptor = os.pidfd_open(process)
    os.kill(process, signal.SIGKILL)
    ended, _, _ = select.select([descriptor], [], [], PATIENCE_S)
    os.close(descriptor)
    assert ended, f"process {process} goes on"


def processes_with(folder, name=None):
    """The machine's processes that have this folder on their command lines or work in it, oldest
    first; only those with this name, if one is given."""
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            line = (process / "cmdline").read_text(errors="replace")
            own = (process / "comm").read_text().strip()
            place = os.readlink(process / "cwd")
        except OSError:
            continue
        if str(folder) in line + place and name in (None, own):
            found.append(int(process.name))
    return sorted(found)


class PlantTest(unittest.TestCase):
    def setUp(self):
        self.world = World(BUILD)
        self.addCleanup(self.world.clean)

    def live(self, script, *options, **settings):
        return self.world.kept(SHORT_WAYS + script, *LIVE, *options, **settings)

    def output(self, script, *options):
        result = self.live(f"{script}\ntrue", *options)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.decode()


class Adapters(PlantTest):
    def macs(self):
        text = self.output("ifconfig -a")
        return [re.search(f"^{name} .*HWaddr ([0-9A-F:]*)", text, re.M)[1].lower()
                for name in ("eth0", "eth1")]

    def test_both_are_there_down_and_without_address(self):
        for adapters in ("1", "2"):
            self.assertEqual(self.output("ifconfig | grep -c ^eth; ifconfig -a | grep -c ^eth",
                                         "--adapters", adapters), "0\n2\n")
            self.assertEqual(self.output("for n in 0 1; do ifconfig eth$n; done |"
                                         "grep -c -E -w 'UP|RUNNING|inet|inet6'",
                                         "--adapters", adapters), "0\n")

    def test_mac_addresses_are_those_of_the_device(self):
        self.world.kept("true")
        image = bytearray(self.world.state("image"))
        wanted = [image[at:at + 6].hex(":") for at in MAC_OFFSETS]
        self.assertEqual(self.macs(), wanted)
        other = ["02:11:22:33:44:ff", "00:80:41:ae:fd:7e"]
        for at, mac in zip(MAC_OFFSETS, other):
            image[at:at + 6] = bytes.fromhex(mac.replace(":", ""))
        self.world.set_state("image", bytes(image))
        self.assertEqual(self.macs(), other)

    def test_mac_address_that_no_adapter_can_have_leaves_the_kernel_s(self):
        self.world.kept("true")
        image = bytearray(self.world.state("image"))
        for bad in (bytes(6), b"\xff" * 6, b"\x01\x00\x5e\x00\x00\x01"):
            with self.subTest(bad=bad.hex(":")):
                image[33:39] = bad
                self.world.set_state("image", bytes(image))
                octets = bytes.fromhex(self.macs()[0].replace(":", ""))
                self.assertNotEqual(octets, bad)
                self.assertTrue(any(octets) and not octets[0] & 1, octets)

    def test_panel_s_root_has_no_more_powers_than_in_a_recorded_panel(self):
        powers = "busybox grep CapEff /proc/self/status"
        self.assertEqual(self.output(powers).encode(), self.world.panel(powers).stdout)

    def test_plant_s_processes_are_out_of_sight(self):
        names = self.output("cat /proc/[0-9]*/comm").split()
        self.assertEqual(sorted(set(names) - {"cat"}), ["bwrap", "sh"])


class Network(PlantTest):
    def test_stored_addresses_of_a_new_device_reach_their_gateways(self):
        self.world.kept("true")
        image = self.world.state("image")
        for number, at in enumerate(ADDRESS_OFFSETS):
            address, gateway, mask = (quad(image[at + skip:at + skip + 4]) for skip in (0, 4, 8))
            with self.subTest(adapter=number):
                self.assertEqual(self.output(
                    f"ifconfig eth{number} {address}; ifconfig eth{number} netmask {mask};"
                    f"ping {gateway} -c 1 -W 3 | grep -c ttl"), "1\n")

    def test_name_of_the_outside_host_is_known_and_it_answers_through_each_gateway(self):
        for number in (0, 1):
            self.assertEqual(self.output(
                f"up {number}; route add default gw 192.168.{number + 1}.1 dev eth{number};"
                + PING), "1\n")

    def test_page_s_default_routes_go_in_and_out(self):
        self.assertEqual(self.output("""
            up 0; up 1
            routes() { route del default; route del default
                route add default gw 192.168.1.1 dev eth0 metric $1
                route add default gw 192.168.2.1 dev eth1 metric $2; }
            show() { route -n | awk '$1 == "0.0.0.0" { print $2, $5, $8 }' | sort; }
            routes 1 1 2>/dev/null; show; routes 1 0; show; """ + PING),
            "192.168.1.1 1 eth0\n192.168.2.1 1 eth1\n"
            "192.168.1.1 1 eth0\n192.168.2.1 0 eth1\n1\n")

    def test_segments_are_apart(self):
        self.assertEqual(self.output("""
            ask() { busybox arping -I eth0 -f -c $2 -w $2 $1 | grep -c reply; }
            ifconfig eth0 192.168.2.50; ping 192.168.2.1 -c 1 -W 1 | grep -c ttl
            ask 192.168.2.1 1
            ifconfig eth0 192.168.1.50; ping 192.168.1.1 -c 1 -W 3 | grep -c ttl
            ask 192.168.1.1 9"""), "0\n0\n1\n1\n")

    def test_machine_is_out_of_reach(self):
        result = self.live("up 0; route add default gw 192.168.1.1;"
                           "ping 198.51.100.1 -c 1 -W 1; cat /proc/net/dev")
        self.assertIn(b"100% packet loss", result.stdout)
        names = re.findall(rb"^ *(\w+):", result.stdout, re.M)
        self.assertEqual(sorted(names), [b"eth0", b"eth1", b"lo"])

    def test_calls_are_written_down_and_carried_out(self):
        script = f"""{CLIENT.format(0)} >/dev/null 2>&1 &
            bound 0
            pid=$(cat /var/run/udhcpc0.pid); sh -c "kill $pid"; wait
            ifconfig eth0 down
            route del default
            killall ping
            ping 127.0.0.1 -c 1 -W 3
            echo $pid"""
        result = self.live(script)
        pid = result.stdout.split()[-1].decode()
        self.assertEqual(self.world.commands(), [
            CLIENT.format(0), f"kill {pid}", "ifconfig eth0 down", "route del default",
            "killall ping", "ping 127.0.0.1 -c 1 -W 3"])
        self.assertIn(b"1 packets received", result.stdout)

    def test_killall_finds_the_tools_by_name(self):
        self.assertEqual(self.output("""
            ping 127.0.0.1 >/tmp/answers & until [ -s /tmp/answers ]; do sleep 0.05; done
            killall ping; echo $?"""), "0\n")


class Leases(PlantTest):
    def lease(self, script):
        """Takes leases on both adapters, then runs the script."""
        clients = "".join(f"{CLIENT.format(n)} >/dev/null 2>&1 &\n" for n in (0, 1))
        return self.output(clients + "bound 0; bound 1\n" + script)

    def test_each_segment_leases_an_address_of_its_own(self):
        lines = self.lease("for n in 0 1; do address $n; done; plant status; ifconfig eth1")
        first, second, *rest = lines.splitlines()
        self.assertRegex(first, r"^192\.168\.1\.1\d\d$")
        self.assertRegex(second, r"^192\.168\.2\.1\d\d$")
        self.assertIn(f"leased 0 {first}", rest)
        self.assertIn(f"leased 1 {second}", rest)
        self.assertIn("Mask:255.255.255.0", lines)

    def test_leased_router_reaches_the_outside_host(self):
        for number in (0, 1):
            self.assertEqual(self.output(
                f"udhcpc -i eth{number} -q >/dev/null 2>&1;"
                "route -n | awk '$1 == \"0.0.0.0\" { print $2, $8 }';" + PING),
                f"192.168.{number + 1}.1 eth{number}\n1\n")

    def test_default_routes_of_the_page_are_left_alone(self):
        self.assertEqual(self.output("""
            up 1; route add default gw 192.168.2.1 dev eth1 metric 1
            udhcpc -i eth0 -q >/dev/null 2>&1
            route -n | awk '$1 == "0.0.0.0" { print $2, $5 }'"""), "192.168.2.1 1\n")
        self.assertEqual(self.output("""
            udhcpc -i eth0 -q >/dev/null 2>&1
            route -n | awk '$1 == "0.0.0.0" { print $2, $5 }'
            route del default; route -n | grep -c ^0.0.0.0"""), "192.168.1.1 10\n0\n")

    def test_resolver_gets_the_servers_of_both_with_their_tags(self):
        lines = self.lease("cat /etc/resolv.conf").splitlines()
        self.assertEqual(sorted(lines), [
            "nameserver 192.168.1.1 # eth0", "nameserver 192.168.2.1 # eth1",
            f"nameserver {OUTSIDE} # eth0", f"nameserver {OUTSIDE} # eth1"])

    def test_lease_keeps_every_other_resolver_line_byte_for_byte(self):
        kept = ("# made by hand\n\n  search  factory.example\t\nnameserver 9.9.9.9\n"
                "nameserver 4.4.4.4 # eth1\neth0 at the start is no tag\r\n\\n %s 'x'\n")
        old = "nameserver 1.1.1.1 # eth0\n"
        (self.world.folder / "resolver").write_text(old + kept + old, newline="")
        text = self.output("cat /scratch/resolver >/etc/resolv.conf;"
                           "udhcpc -i eth0 -q >/dev/null 2>&1; cat /etc/resolv.conf",
                           "--bind", self.world.folder, "/scratch")
        self.assertEqual(text, kept + "nameserver 192.168.1.1 # eth0\n"
                         f"nameserver {OUTSIDE} # eth0\n")

    def test_client_without_an_answer_loses_no_server(self):
        self.assertEqual(self.output("""
            plant dhcp 0 off; up 0; echo 'nameserver 1.1.1.1 # eth0' >/etc/resolv.conf
            udhcpc -i eth0 -n -t 1 -T 1 2>/dev/null; echo $?
            cat /etc/resolv.conf; address 0; ifconfig eth0 | grep -c -w UP"""),
            "1\nnameserver 1.1.1.1 # eth0\n1\n")

    def test_lease_can_have_any_address_and_mask_and_its_router_answers(self):
        self.assertEqual(self.output("""
            plant lease 0 10.1.2.77 255.255.0.0
            udhcpc -i eth0 -q >/dev/null 2>&1
            ifconfig eth0 | sed -n 's/.*addr:\\([0-9.]*\\) .*Mask:/\\1 /p'
            ping 10.1.2.1 -c 1 -W 3 | grep -c ttl
            plant lease 0 usual
            udhcpc -i eth0 -q >/dev/null 2>&1
            ifconfig eth0 | grep -c 'addr:192.168.1.1'; """ + PING),
            "10.1.2.77 255.255.0.0\n1\n1\n1\n")

    def test_client_is_ended_through_its_pid_file_and_started_again(self):
        self.assertEqual(self.output(f"""
            for round in 1 2; do
                {CLIENT.format(1)} >/dev/null 2>&1 &
                bound 1
                sh -c "kill $(cat /var/run/udhcpc1.pid)"; wait; echo ended
                ifconfig eth1 0.0.0.0
            done; plant status | grep -c 'leased 1'"""), "ended\nended\n1\n")


class Faults(PlantTest):
    def test_pulled_cable_is_felt_and_put_back(self):
        for number in (0, 1):
            with self.subTest(adapter=number):
                look = f"ifconfig eth{number} | grep -c RUNNING"
                ping = f"ping 192.168.{number + 1}.1 -c 1 -W 3 | grep -c ttl"
                self.assertEqual(self.output(f"""
                    up 0; up 1; {look}; plant link {number} down; {look}; {ping}
                    ifconfig eth{1 - number} | grep -c RUNNING
                    plant link {number} up; {look}; {ping}"""), "1\n0\n0\n1\n1\n1\n")

    def test_cable_of_an_adapter_that_is_down_can_be_pulled(self):
        self.assertEqual(self.output("""
            plant link 0 down; up 0
            while ifconfig eth0 | busybox grep -q RUNNING; do sleep 0.05; done; echo 0
            plant link 0 up; ifconfig eth0 | grep -c RUNNING"""), "0\n1\n")

    def test_server_leases_on_after_its_cable_was_pulled(self):
        self.assertEqual(self.output("""
            plant link 0 down; plant link 0 up
            udhcpc -i eth0 -n -t 5 -T 1 -q >/dev/null 2>&1; echo $?"""), "0\n")

    def test_server_that_is_off_answers_nobody_until_it_is_on(self):
        for number in (0, 1):
            ask = f"udhcpc -i eth{number} -n -t 2 -T 1 -q >/dev/null 2>&1; echo $?"
            with self.subTest(adapter=number):
                self.assertEqual(self.output(f"plant dhcp {number} off; {ask};"
                                             f"plant dhcp {number} on; {ask}"), "1\n0\n")

    def test_server_of_the_other_segment_stays_on(self):
        self.assertEqual(self.output("""plant dhcp 0 off
            udhcpc -i eth1 -n -t 2 -T 1 -q >/dev/null 2>&1; echo $?"""), "0\n")

    def test_late_server_lets_a_client_ask_again_and_then_answers_it(self):
        result = self.live("plant dhcp 1 late 3; plant status | grep dhcp; sleep 3.5;"
                           "udhcpc -i eth1 -t 100 -T 1 -q; plant status | grep dhcp")
        self.assertEqual(result.stdout, b"dhcp 0 on\ndhcp 1 late 3\ndhcp 0 on\ndhcp 1 on\n")
        asked = result.stderr.count(b"broadcasting discover")
        self.assertTrue(3 <= asked <= 6, result.stderr)
        self.assertEqual(result.stderr.count(b" obtained from 192.168.2.1"), 1)

    def test_late_server_can_be_put_on_or_off_before_its_time(self):
        ask = "udhcpc -i eth0 -n -t 2 -T 1 -q >/dev/null 2>&1; echo $?"
        self.assertEqual(self.output(f"plant dhcp 0 late 3600; {ask}; plant dhcp 0 on; {ask};"
                                     f"plant dhcp 0 late 1; plant dhcp 0 off; {ask}; {ask}"),
                         "1\n0\n1\n1\n")

    def test_outside_host_answers_or_not_and_the_gateway_still_does(self):
        self.assertEqual(self.output(f"""
            up 0; route add default gw 192.168.1.1; plant outside down; {PING}
            ping 192.168.1.1 -c 1 -W 3 | grep -c ttl
            plant outside up; {PING}"""), "0\n1\n1\n")

    def test_lost_route_is_lost_on_its_segment_only(self):
        self.assertEqual(self.output(f"""
            up 0; up 1; plant route 0 lost
            route add default gw 192.168.1.1; {PING}; ping 192.168.1.1 -c 1 -W 3 | grep -c ttl
            route del default; route add default gw 192.168.2.1; {PING}
            plant route 0 back; plant route 1 lost; {PING}
            route del default; route add default gw 192.168.1.1; {PING}"""),
            "0\n1\n1\n0\n1\n")

    def test_every_verb_may_be_said_twice_and_shows_in_the_status(self):
        usual = ["link 0 up", "dhcp 0 on", "route 0 back", "lease 0 usual",
                 "link 1 up", "dhcp 1 on", "route 1 back", "lease 1 usual", "outside up"]
        changed = ["link 0 down", "dhcp 0 off", "route 0 lost", "lease 0 10.1.2.77 255.255.0.0",
                   "link 1 down", "dhcp 1 late 9", "route 1 lost", "lease 1 10.9.0.2 255.255.255.0",
                   "outside down"]
        script = "plant status\n"
        for verbs in (changed, changed, usual, usual):
            script += "".join(f"plant {verb} || echo failed\n" for verb in verbs)
            script += "plant status\n"
        self.assertEqual(self.output(script).splitlines(),
                         usual + changed + changed + usual + usual)

    def test_verb_that_is_none_gives_one_clear_line(self):
        for verb, text in (("", "no verb"), ("jump", "'jump' is no verb"),
                           ("link 2 up", "'link 2 up' is no verb"), ("link 0", "is no verb"),
                           ("link 0 up now", "is no verb"), ("dhcp 0 late", "is no verb"),
                           ("dhcp 0 late 0", "1 to 3600 seconds"),
                           ("dhcp 0 late 3601", "1 to 3600 seconds"),
                           ("outside away", "is no verb"), ("status 0", "is no verb"),
                           ("lease 0 10.1.2 255.0.0.0", "is no address and mask"),
                           ("lease 0 10.1.2.3 255.0.255.0", "is no address and mask"),
                           ("lease 0 10.1.2.1 255.255.0.0", "no room"),
                           ("lease 0 10.1.2.255 255.255.255.0", "no room"),
                           ("lease 0 10.1.2.77 255.255.255.192", "no room")):
            with self.subTest(verb=verb):
                result = self.live(f"plant {verb}")
                self.assertEqual((result.returncode, result.stdout), (2, b""))
                self.assertEqual(len(result.stderr.splitlines()), 1)
                self.assertIn(text, result.stderr.decode())

    def test_help_is_printed(self):
        self.assertTrue(self.output("plant --help").startswith("usage: plant link"))

    def test_plant_itself_is_not_written_down(self):
        self.output("ifconfig eth0 up; plant link 0 down; plant link 0 up; plant status")
        self.assertEqual(self.world.commands(), ["ifconfig eth0 up"])


class Remains(PlantTest):
    """A panel that ends in any way takes its plant along."""

    def start(self, then="exec sleep 3600"):
        """A panel with a lease on each adapter, in this world's scratch folder."""
        clients = "".join(f"{CLIENT.format(n)} >/dev/null 2>&1 &\n" for n in (0, 1))
        panel = self.world.start(SHORT_WAYS + clients + "bound 0; bound 1; echo up; "
                                 + then, *LIVE, stdin=subprocess.PIPE)
        self.assertEqual(panel.stdout.readline(), b"up\n")
        return panel

    def processes(self, name=None):
        return processes_with(self.world.scratch, name)

    def assert_nothing_remains(self):
        wait_for(lambda: not self.processes(), "the processes to end")
        wait_for(lambda: not os.listdir(self.world.scratch), "the scratch folder to be emptied")
        self.assertNotIn(str(self.world.scratch), pathlib.Path("/proc/self/mounts").read_text())

    def test_nothing_remains_after_the_end(self):
        interfaces = pathlib.Path("/proc/net/dev").read_text().count(":")
        panel = self.start("read -r _")
        self.assertGreaterEqual(len(self.processes("busybox")), 2)
        self.assertEqual(pathlib.Path("/proc/net/dev").read_text().count(":"), interfaces)
        panel.communicate(b"\n")
        self.assertEqual(panel.returncode, 0)
        self.assertEqual(os.listdir(self.world.scratch), [])
        self.assert_nothing_remains()

    def test_exit_status_and_streams_are_the_command_s(self):
        result = self.live("cat; echo wrong >&2; exit 77", input=b"\0through\n")
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (77, b"\0through\n", b"wrong\n"))
        self.assertEqual(self.live("kill -ABRT $$").returncode, 128 + signal.SIGABRT)

    def test_status_is_the_panel_s_whatever_it_did_to_the_plant_s_door(self):
        for change in ("rm /panel/run/plant", "rm /panel/run/plant; mkdir /panel/run/plant",
                       "rm -r /panel/run"):
            with self.subTest(change=change):
                result = self.live(f"{change}; exit 7")
                self.assertEqual((result.returncode, result.stderr), (7, b""))

    def test_panel_that_cannot_start_fails_as_a_recorded_one_does(self):
        results = []
        for mode in ("recorded", "live"):
            result = self.world.panel("true", "--mode", mode, "--bind", "/no/such/folder", "/x")
            results.append((result.returncode, result.stderr))
        self.assertEqual(results[0], results[1])
        self.assertIn(b"/no/such/folder", results[1][1])
        self.assert_nothing_remains()

    def test_nothing_remains_after_a_signal(self):
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
            with self.subTest(signal=number.name):
                panel = self.start()
                panel.send_signal(number)
                panel.communicate(timeout=PATIENCE_S)
                self.assertGreater(panel.returncode, 128)
                self.assert_nothing_remains()

    def test_nothing_remains_after_the_sandbox_is_killed(self):
        panel = self.start()
        panel.kill()
        panel.communicate(timeout=PATIENCE_S)
        self.assert_nothing_remains()

    def test_nothing_remains_after_any_other_process_of_it_is_killed(self):
        for name, index in (("unshare", 0), ("controller", 0), ("bwrap", 0), ("bwrap", 1)):
            with self.subTest(name=name, index=index):
                panel = self.start()
                os.kill(self.processes(name)[index], signal.SIGKILL)
                panel.communicate(timeout=PATIENCE_S)
                self.assertNotEqual(panel.returncode, 0)
                self.assert_nothing_remains()

    def test_server_that_is_killed_shows_in_the_status_and_can_be_started_again(self):
        panel = self.world.start(
            "echo up; read -r _; plant status; plant dhcp 0 on; plant dhcp 1 on; plant status",
            *LIVE, stdin=subprocess.PIPE)
        self.assertEqual(panel.stdout.readline(), b"up\n")
        for server in self.processes("busybox"):
            kill(server)
        output, _ = panel.communicate(b"\n", timeout=PATIENCE_S)
        self.assertEqual(re.findall(rb"dhcp . (\w+)", output), [b"ended"] * 2 + [b"on"] * 2)


class ShownPanel(unittest.TestCase):
    """The panel that people start."""

    def setUp(self):
        self.panel = Panel(BUILD)
        self.addCleanup(self.panel.clean)
        self.panel.start().close()

    def test_plant_is_changed_from_outside(self):
        self.assertEqual(self.panel.plant("outside down"), "")
        self.assertIn("outside down", self.panel.plant("status").splitlines())
        with self.assertRaisesRegex(ValueError, "is no verb"):
            self.panel.plant("outside away")

    def test_nothing_remains_after_its_script_is_killed(self):
        self.panel.crash()
        wait_for(lambda: not self.panel.remains(), "the scratch folder to be emptied")
        wait_for(lambda: not processes_with(self.panel.folder), "the processes to end")


class Neighbours(PlantTest):
    def test_two_panels_at_once_do_not_see_each_other(self):
        script = SHORT_WAYS + f"""
            up 0; route add default gw 192.168.1.1; read -r verb; $verb; echo done
            read -r _; {PING}; ping 192.168.1.77 -c 1 -W 1 | grep -c ttl
            plant status | grep -c -E 'down|leased'"""
        first, second = (self.world.start(script, *LIVE, stdin=subprocess.PIPE) for _ in range(2))
        for panel, verb in ((first, b"plant outside down\n"),
                            (second, b"ifconfig eth0:1 192.168.1.77\n")):
            panel.stdin.write(verb)
            panel.stdin.flush()
            self.assertEqual(panel.stdout.readline(), b"done\n")
        self.assertEqual(first.communicate(b"\n")[0], b"0\n0\n1\n")
        self.assertEqual(second.communicate(b"\n")[0], b"1\n1\n0\n")

    @unittest.skipUnless(os.getuid() == 0, "whoever runs this has no powers to give up")
    def test_somebody_without_powers_can_start_it(self):
        nobody = 65534
        for folder in (self.world.folder, self.world.scratch):
            os.chown(folder, nobody, nobody)
        if not self.can_read_all(nobody):
            self.skipTest("nobody but root can read the sources or the build")
        command = ["setpriv", "--reuid", str(nobody), "--regid", str(nobody), "--clear-groups",
                   *self.world.command(
                       SHORT_WAYS + "udhcpc -i eth1 -q 2>/dev/null; address 1;" + PING, *LIVE)]
        result = subprocess.run(command, env=self.world.environment(), capture_output=True,
                                timeout=PATIENCE_S, check=False)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertRegex(result.stdout.decode(), r"(?s)192\.168\.2\.1\d\d\n1\n$")

    def can_read_all(self, user):
        files = self.world.command("true")[0], self.world.build / "panelctl" / "panelctl"
        return subprocess.run(["setpriv", "--reuid", str(user), "--clear-groups", "test",
                               "-r", files[0], "-a", "-r", files[1]], check=False).returncode == 0


if __name__ == "__main__":
    unittest.main(verbosity=2)
