"""Unit tests of a package with an item type: of its functions, and of its servers as the host calls them.

    kzhost --import-path examples/lamps -m unittest discover examples/lamps/tests
"""

import os
import shutil
import tempfile
import unittest

import kz
import lamps

SCENES, UNDO = kz.service.Scene(), kz.service.Undo()


class ListsTest(unittest.TestCase):
    def test_a_list_is_read(self):
        self.assertEqual(lamps.read(['# none', '', 'Key 40 0 2 1 # first']), [lamps.Lamp('Key', 40.0, (0.0, 2.0, 1.0))])

    def test_errors_name_the_line(self):
        for line in ('Key', 'Key 40 0 2', 'Key many 0 2 1'):
            self.assertRaisesRegexp(ValueError, '^line 2: "Key.*" is no lamp', lamps.read, ['', line])


class ServersTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.scene = SCENES.Create('house')
        self.kind = SCENES.ItemTypeLookup(lamps.TYPE)
        self.item = self.scene.ItemAdd(self.kind)

    def path(self, name, text=None):
        path = os.path.join(self.folder, name)
        if text is not None:
            with open(path, 'w') as stream:
                stream.write(text)
        return path

    def test_a_lamp_is_called_after_its_power(self):
        self.assertEqual(self.item.UniqueName(), '40 W lamp')
        self.scene.WriteChannels(None, 0.0).DoubleByName(self.item, 'watts', 60.0)
        self.assertEqual(self.item.UniqueName(), '60 W lamp')
        UNDO.Undo(1)
        self.assertEqual(self.item.UniqueName(), '40 W lamp')

    def test_hours_are_saved_undone_and_not_copied(self):
        kz.eval('lamps.burn 12.5')
        copy = self.item.Duplicate(0)
        self.assertEqual((lamps.of(self.item).hours, lamps.of(copy).hours), (12.5, 0.0))
        path = self.path('house.kzscene')
        SCENES.Save(self.scene, path, None)
        with open(path + '.txt') as stream:
            self.assertEqual(stream.read(), '40 W lamp: 40 W, 12.5 h\n40 W lamp (2): 40 W, 0 h\ntogether: 80 W\n')
        loaded = SCENES.Load(path, None)
        self.assertEqual(lamps.of(loaded.ItemByIndex(self.kind, 0)).hours, 12.5)
        self.scene.ItemRemove(self.item)
        UNDO.Undo(1)
        self.assertEqual(lamps.of(self.item).hours, 12.5)

    def test_a_used_lamp_stays(self):
        kz.eval('lamps.burn 1000')
        self.assertRaises(RuntimeError, kz.eval, 'item.delete {40 W lamp}')
        self.assertTrue(self.item.IsValid())

    def test_a_list_is_a_scene(self):
        scene = SCENES.Load(self.path('a.lamps', 'Key 40 0 2 1\nKey 60 0 0 0\n'), None)
        found = [scene.ItemByIndex(self.kind, index) for index in range(scene.ItemCount(self.kind))]
        self.assertEqual([item.UniqueName() for item in found], ['Key', 'Key (2)'])
        self.assertEqual(SCENES.LocatorTransform(found[0], 0.0)[0], (0.0, 2.0, 1.0))
        self.assertRaises(RuntimeError, SCENES.Load, self.path('b.lamps', 'Key\n'), None)


if __name__ == '__main__':
    unittest.main()
