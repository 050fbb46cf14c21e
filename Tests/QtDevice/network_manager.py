#!/usr/bin/python3
"""Plays the system's network service on a private system bus: prints the bus's address, then obeys one command a line.

state N      the service's state, as its interface counts them
device N     the type of the device that carries the primary connection: 1 is Ethernet, 8 a modem
Each command is answered with "done". The end of the input ends the service and the bus.
"""

import os
import subprocess
import sys
import tempfile

import dbus
import dbusmock
from dbusmock.templates import networkmanager as nm

DEVICE_TYPES = (1, 8)


def device_path(kind: int) -> str:
    return f"{nm.MANAGER_OBJ}/Devices/{kind}"


def connection_path(kind: int) -> str:
    return f"{nm.MANAGER_OBJ}/ActiveConnection/{kind}"


# This file is its own template, because only values that are set inside the mock keep their types for those who
# introspect it.
BUS_NAME = nm.BUS_NAME
MAIN_OBJ = nm.MAIN_OBJ
MAIN_IFACE = nm.MANAGER_IFACE
SYSTEM_BUS = nm.SYSTEM_BUS
IS_OBJECT_MANAGER = nm.IS_OBJECT_MANAGER


def load(mock, parameters) -> None:
    nm.load(mock, parameters)
    for kind in DEVICE_TYPES:
        mock.AddObject(device_path(kind), nm.DEVICE_IFACE, {"DeviceType": dbus.UInt32(kind)}, [])
        mock.AddObject(connection_path(kind), nm.ACTIVE_CONNECTION_IFACE,
                       {"Devices": dbus.Array([dbus.ObjectPath(device_path(kind))], signature="o")}, [])
    manager = dbusmock.get_object(nm.MANAGER_OBJ)
    manager.props[nm.MANAGER_IFACE] |= {
        "State": dbus.UInt32(nm.NMState.NM_STATE_DISCONNECTED), "Metered": dbus.UInt32(2),
        "PrimaryConnection": dbus.ObjectPath(connection_path(DEVICE_TYPES[0]))}


class Bus(dbusmock.DBusTestCase):
    pass


def main() -> None:
    Bus.setUpClass()
    Bus.start_system_bus()
    server, _ = Bus.spawn_server_template(os.path.abspath(__file__), {}, stdout=subprocess.DEVNULL)
    try:
        bus = Bus.get_dbus(system_bus=True)
        manager = dbus.Interface(bus.get_object(nm.BUS_NAME, nm.MANAGER_OBJ), dbusmock.MOCK_IFACE)
        print("bus " + os.environ["DBUS_SYSTEM_BUS_ADDRESS"], flush=True)
        for line in sys.stdin:
            command, number = line.split()
            if command == "state":
                manager.UpdateProperties(nm.MANAGER_IFACE, {"State": dbus.UInt32(int(number))})
            elif command == "device":
                # The mock's own way to change a property takes no paths.
                changed = {"PrimaryConnection": dbus.ObjectPath(connection_path(int(number)), variant_level=1)}
                manager.EmitSignal(dbus.PROPERTIES_IFACE, "PropertiesChanged", "sa{sv}as",
                                   [nm.MANAGER_IFACE, changed, dbus.Array([], signature="s")])
            print("done", flush=True)
    finally:
        server.terminate()
        server.wait()
        Bus.tearDownClass()


if __name__ == "__main__":
    # The mock leaves its files behind.
    with tempfile.TemporaryDirectory() as tempfile.tempdir:
        main()
