#!/usr/bin/python3
"""Reads the gallery of a running reference host over AT-SPI, as a screen
reader does, and prints each tile's name and description.

Started by scripts/atspi-check.sh (inside a D-Bus session with the
accessibility bus). It starts the host itself with --control, prints the
gallery, drives the host through its commands and prints it again after each
step. Exits 1 when the gallery cannot be read or a tile has no name.

    atspi-tree.py HOST [HOST OPTIONS...]
"""
import os
import subprocess
import sys
import time

import pyatspi

STEPS = [
    ("as the meeting starts", []),
    ("Chen unmutes, Bo's network turns weak, the keyboard goes to the second tile",
     ["mic Chen toggle", "weak Bo on", "focus 2"]),
    ("the next page", ["page next"]),
    ("a share takes the stage: the others in the floating window", ["share on #1"]),
]


def find(node, test, depth=0):
    if node is None or depth > 12:
        return None
    if test(node):
        return node
    for i in range(node.childCount):
        hit = find(node.getChildAtIndex(i), test, depth + 1)
        if hit is not None:
            return hit
    return None


def host_app(pid, timeout):
    end = time.time() + timeout
    while time.time() < end:
        desktop = pyatspi.Registry.getDesktop(0)
        for i in range(desktop.childCount):
            app = desktop.getChildAtIndex(i)
            try:
                if app is not None and app.get_process_id() == pid:
                    return app
            except Exception:
                pass
        time.sleep(0.2)
    return None


def role(node):
    return node.getRoleName()


def describe(node, indent):
    """One line per item: its role, name and description as a screen reader
    gets them; a tile's controls follow on the same line."""
    state = node.getState()
    focused = " [keyboard]" if state.contains(pyatspi.STATE_FOCUSED) else ""
    line = "%s%s: %s" % (indent, role(node), node.name)
    if node.description:
        line += " \u2014 " + node.description
    controls = []
    for i in range(node.childCount):
        c = node.getChildAtIndex(i)
        controls.append(c.name + (" (%s)" % c.description if c.description else ""))
    if controls:
        line += "   [" + ", ".join(controls) + "]"
    return line + focused


def print_container(node):
    print("%s \"%s\", %d items" % (role(node), node.name, node.childCount))
    bad = 0
    for i in range(node.childCount):
        item = node.getChildAtIndex(i)
        print(describe(item, "  "))
        if role(item) == "list item" and not item.name:
            bad += 1
    return bad


def main():
    host = subprocess.Popen(sys.argv[1:] + ["--control"], stdin=subprocess.PIPE,
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, text=True)

    def command(line):
        host.stdin.write(line + "\n")
        host.stdin.flush()

    try:
        app = host_app(host.pid, 20)
        if app is None:
            print("atspi-tree: the host did not appear on the accessibility bus", file=sys.stderr)
            return 1
        failures = 0
        for title, commands in STEPS:
            for c in commands:
                command(c)
            time.sleep(1.5 if commands else 2.5)  # the host joins its meeting; a relayout settles
            app.clearCache()
            gallery = find(app, lambda n: role(n) == "list" and n.name)
            if gallery is None or gallery.childCount == 0:
                print("atspi-tree: no gallery list on the accessibility bus", file=sys.stderr)
                return 1
            print("== " + title)
            failures += print_container(gallery)
            floating = find(app, lambda n: role(n) == "dialog" and n.childCount > 0
                            and role(n.getChildAtIndex(0)) == "list item")
            if floating is not None:
                failures += print_container(floating)
            print()
        if failures:
            print("atspi-tree: %d tiles without a name" % failures, file=sys.stderr)
        return 1 if failures else 0
    finally:
        try:
            command("quit")
            host.wait(timeout=10)
        except Exception:
            host.kill()


if __name__ == "__main__":
    sys.exit(main())
