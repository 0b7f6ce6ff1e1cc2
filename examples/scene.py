# python
# Makes a small scene: items in a tree, their channels, and where they end up in the world.
import math

import kz

scenes = kz.service.Scene()
scene = scenes.Create("Workshop")

# Types have numbers, which are looked up by name once.
locator = scenes.ItemTypeLookup(kz.symbol.sITYPE_LOCATOR)
mesh = scenes.ItemTypeLookup(kz.symbol.sITYPE_MESH)

arm = scene.ItemAdd(locator)
arm.SetName("Arm")
tool = scene.ItemAdd(mesh)
tool.SetName("Tool")
tool.SetParent(arm, -1)
spare = scene.ItemAdd(mesh)
spare.SetName("Tool")
print "items:", [scene.ItemByIndex(locator, i).UniqueName() for i in range(scene.ItemCount(locator))],
print [scene.ItemByIndex(mesh, i).UniqueName() for i in range(scene.ItemCount(mesh))]
print "%s is below %s" % (tool.Name(), tool.Parent().Name())

# Values are written through one object and read through another.
write = scene.WriteChannels(None, 0.0)
read = scene.Channels(None, 0.0)
write.Vector(arm, arm.ChannelLookup("pos.X"), (10, 0, 0))
write.StringByName(arm, "rot.Z", "90deg")
write.Vector(tool, tool.ChannelLookup("pos.X"), (2, 0, 0))
write.EncodedInteger(tool, tool.ChannelLookup("visible"), "off")
print "turned by %.4f, visible: %s" % (read.DoubleByName(arm, "rot.Z"),
                                       read.EncodedInteger(tool, tool.ChannelLookup("visible")))

# A channel of our own, with a range that is kept.
speed = tool.ChannelAdd("speed", "float")
speed.SetRange(0, 100)
write.DoubleByName(tool, "speed", 25)
try:
    write.DoubleByName(tool, "speed", 101)
except IndexError:
    print "speed stays", read.DoubleByName(tool, "speed")

# The arm turns the tool's two metres along X into two metres along Y.
world = read.Matrix(tool, tool.ChannelLookup("worldMatrix"))
print "tool in the world:", tuple(round(value, 6) + 0.0 for value in world[3][:3])
print "angle of its axis: %g degrees" % math.degrees(math.atan2(world[0][1], world[0][0]))

# A removed item stays an object, but it is not valid any more.
scene.ItemRemove(arm)
print "valid after the removal:", tool.IsValid()
scenes.Close(scene)
