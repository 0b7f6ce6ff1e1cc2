# python
"""Edits a scene: puts pillars on a circle, makes every third one a tower, and draws the plan from above.

    kzhost run examples/circle.py plan.png
"""
import math
import sys

import kz

SIZE, RADIUS, COUNT = 96, 5.0, 12
scenes = kz.service.Scene()


def build():
    scene = scenes.Create("Court")
    mesh, locator = (scenes.ItemTypeLookup(name) for name in (kz.symbol.sITYPE_MESH, kz.symbol.sITYPE_LOCATOR))
    court = scene.ItemAdd(locator)
    court.SetName("Court")
    write = scene.WriteChannels(None, 0.0)
    for index in range(COUNT):
        pillar = scene.ItemAdd(mesh)
        pillar.SetName("Pillar")
        pillar.SetParent(court, -1)
        angle = 2 * math.pi * index / COUNT
        position = RADIUS * math.cos(angle), 0, RADIUS * math.sin(angle)
        write.Vector(pillar, pillar.ChannelLookup("pos.X"), position)
    return scene, court


def children(item):
    return [item.SubByIndex(index) for index in range(item.SubCount())]


def edit(scene, court):
    """Changes go through the scene's channels; the parent takes everything below it along."""
    write = scene.WriteChannels(None, 0.0)
    for pillar in children(court)[::3]:
        pillar.SetName(pillar.Name().replace("Pillar", "Tower"))
        pillar.ChannelAdd("height", "float").SetRange(1, 20)
        write.DoubleByName(pillar, "height", 12)
    write.Vector(court, court.ChannelLookup("pos.X"), (6, 0, 6))


def draw(scene, court, path):
    """A dot for each pillar, a larger one for each tower, where they are in the world."""
    images = kz.service.Image()
    image = images.Create(SIZE, SIZE, kz.symbol.iIMG_FORMAT_RGB24, 0)
    writer = kz.object.ImageWrite(image)
    writer.Fill((0.93, 0.91, 0.86), 1.0)
    read = scene.Channels(None, 0.0)
    color = kz.Storage("byte", 3)
    for item in children(court):
        x, _, z = read.Matrix(item, item.ChannelLookup("worldMatrix"))[3][:3]
        is_tower = item.Name().startswith("Tower")
        color.set((170, 60, 40) if is_tower else (90, 90, 100))
        half = 4 if is_tower else 2
        for dx in range(-half, half + 1):
            for dy in range(-half, half + 1):
                if dx * dx + dy * dy <= half * half + 1:
                    writer.SetPixel(int(x * 8) + dx, int(z * 8) + dy, kz.symbol.iIMG_FORMAT_RGB24, color)
    images.Save(image, path, "PNG", None)


scene, court = build()
edit(scene, court)
read = scene.Channels(None, 0.0)
for item in children(court)[:4]:
    where = read.Matrix(item, item.ChannelLookup("worldMatrix"))[3][:3]
    print "%-11s at %s" % (item.UniqueName(), ", ".join("%.1f" % value for value in where))
print "towers:", sum(item.Name() == "Tower" for item in children(court)), "of height", \
    read.DoubleByName(scene.ItemLookup("Tower"), "height")
if sys.argv[1:]:
    draw(scene, court, sys.argv[1])
