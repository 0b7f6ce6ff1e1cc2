# python
"""A rig: an arm of three parts whose hand opens and closes, driven by two channels that have keys. It is built, saved,
reopened, animated, and checked against a calculation of its own; the exit status is 1 if they differ.

    kzhost run examples/rig.py arm.kzscene
"""
import math
import sys

import kz

UPPER, LOWER = 3.0, 2.0  # metres from joint to joint
scenes = kz.service.Scene()


def build():
    scene = scenes.Create("Arm")
    make = lambda kind, name, parent: named(scene.ItemAdd(scenes.ItemTypeLookup(kind)), name, parent)
    control = make("locator", "Control", None)
    for name in "reach", "grip":
        control.ChannelAdd(name, "percent").SetRange(0, 1)
    shoulder = make("locator", "Shoulder", None)
    elbow = make("locator", "Elbow", shoulder)
    hand = make("locator", "Hand", elbow)
    fingers = [make("locator", name, hand) for name in ("Left", "Right")]
    write = scene.WriteChannels(None, 0.0)
    write.DoubleByName(elbow, "pos.X", UPPER)
    write.DoubleByName(hand, "pos.X", LOWER)

    # What is between the controls and the joints: the elbow bends twice as far back as the shoulder rises, and the fingers
    # turn by up to 30 degrees, one each way.
    links = kz.object.ChannelGraph(scene.GraphLookup("channelLinks"))
    link = lambda source, output, target, channel: links.AddLink(source, source.ChannelLookup(output), target,
                                                                 target.ChannelLookup(channel))
    for name, control_name, angle, joint in (
            ("Rise", "reach", 80.0, shoulder), ("Bend", "reach", -160.0, elbow),
            ("Open", "grip", 30.0, fingers[0]), ("Close", "grip", -30.0, fingers[1])):
        product = make("mathBasic", name, control)
        write.EncodedInteger(product, product.ChannelLookup("operation"), "multiply")
        write.DoubleByName(product, "input2", math.radians(angle))
        link(control, control_name, product, "input1")
        link(product, "output", joint, "rot.Z")
    return scene


def named(item, name, parent):
    item.SetName(name)
    item.SetParent(parent, -1)
    return item


def animate():
    """The arm reaches out in a second and comes back in another; the hand opens on the way."""
    for channel, time, value in (("reach", 0, 1), ("reach", 1, 0.25), ("reach", 2, 1), ("grip", 0, 0), ("grip", 1, 1)):
        kz.eval("key.set Control %s %r time:%r" % (channel, value, time))
    kz.eval("key.interpolation Control reach linear")
    kz.eval("key.interpolation Control grip linear")
    kz.eval("key.behavior Control grip oscillate side:out")


def expected(time):
    """Where the hand is and how far it is open, by trigonometry, at a time up to two seconds."""
    way = time if time < 1 else 2 - time
    rise = math.radians(80) * (1 - 0.75 * way)
    finger = math.radians(30) * way
    return (UPPER + LOWER) * math.cos(rise), (UPPER - LOWER) * math.sin(rise), finger, -finger


def check(scene):
    worst = 0.0
    for time in (0.0, 0.5, 1.0, 1.75):
        read = scene.Channels(None, time)
        hand = scene.ItemLookup("Hand")
        x, y, _ = read.Matrix(hand, hand.ChannelLookup("worldMatrix"))[3][:3]
        left, right = (read.DoubleByName(scene.ItemLookup(name), "rot.Z") for name in ("Left", "Right"))
        print "%.2f s: hand at %.3f, %.3f; fingers at %.1f and %.1f degrees" % (
            time, x, y, math.degrees(left), math.degrees(right))
        worst = max([worst] + [abs(a - b) for a, b in zip((x, y, left, right), expected(time))])
    return worst < 1e-9


def main(path):
    scene = build()
    animate()
    scenes.Save(scene, path, None)
    scenes.Close(scene)
    scene = scenes.Load(path, None)
    print "reopened:", scene.ItemCount(scenes.ItemTypeLookup("locator")), "locators,", \
        scene.ItemCount(scenes.ItemTypeLookup("mathBasic")), "modifiers"
    good = check(scene)
    print "as calculated" if good else "not as calculated"
    return good


if __name__ == "__main__":
    if not main(sys.argv[1]):
        sys.exit(1)
