"""Unit tests of a package of servers: of its functions, and of its servers as the host calls them.

    kzhost --import-path examples/palette -m unittest discover examples/palette/tests
"""

import os
import shutil
import tempfile
import unittest

import kz
import palette


class ColorsTest(unittest.TestCase):
    def test_colors_are_parsed_and_formatted(self):
        self.assertEqual(palette.parse('#ff8000'), (255, 128, 0))
        self.assertEqual(palette.format((255, 128, 0)), '#ff8000')
        for text in ('', 'red', '12345', '12345g'):
            self.assertRaises(ValueError, palette.parse, text)

    def test_colors_are_mixed(self):
        mixed = [palette.mix((255, 0, 10), (1, 100, 20), mode) for mode in palette.MODES]
        self.assertEqual(mixed, [(128, 50, 15), (255, 100, 20), (1, 0, 10)])


class ServersTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name, text=None):
        path = os.path.join(self.folder, name)
        if text is not None:
            with open(path, 'w') as stream:
                stream.write(text)
        return path

    def test_the_command_remembers_its_mode(self):
        kz.eval('palette.mix ff0000 0000ff mode:darker')
        self.assertEqual(kz.eval('palette.mix mode:?'), 'darker')

    def test_the_command_refuses_what_is_no_color_and_no_mode(self):
        for arguments in ('ff0000', 'ff0000 blue', 'ff0000 0000ff mode:brighter'):
            self.assertRaises(RuntimeError, kz.eval, 'palette.mix ' + arguments)

    def test_colors_survive_a_picture(self):
        images = kz.service.Image()
        for source, target in (('a.colors', 'b.png'), ('b.png', 'c.colors')):
            images.Save(images.Load(self.path(source, '#102030 x\n\n#ffffff\n' if source[0] == 'a' else None), None),
                        self.path(target), None, None)
        with open(self.path('c.colors')) as stream:
            self.assertEqual(stream.read(), '#102030\n#ffffff\n')

    def test_a_broken_file_is_refused(self):
        self.assertRaises(RuntimeError, kz.service.Image().Load, self.path('a.colors', '#12\n'), None)


if __name__ == '__main__':
    unittest.main()
