"""Sounds: what they keep and refuse, WAV files as the interpreter's own module reads and writes them, loaders and savers."""
import os
import struct
import tempfile
import wave

import kz
import kzifc
from checks import code_of, equal, fails, near, reasons, storage
from kz.symbol import iAUDIO_FLOAT, iAUDIO_INT8, iAUDIO_INT16, iAUDIO_INT24, sFILECLASS_AUDIO

AUDIO = kz.service.AudioAnim()
FOLDER = tempfile.mkdtemp()
# The bytes of one sample each: the least, the greatest, and those around silence.
ROWS = {1: [0, 255, 127, 128, 129, 1], 2: [-32768, 32767, -1, 0, 1, 12345],
        3: [-8388608, 8388607, -1, 0, 1, 1234567]}


def path(name):
    return os.path.join(FOLDER, name)


def packed(values, size):
    if size == 1:
        return ''.join(map(chr, values))
    return ''.join(struct.pack('<i', value)[:size] for value in values)


def write_wave(name, values, size, channels, frequency=8000):
    stream = wave.open(path(name), 'wb')
    stream.setparams((channels, size, frequency, 0, 'NONE', ''))
    stream.writeframes(packed(values, size))
    stream.close()


def read_wave(name):
    stream = wave.open(path(name))
    try:
        return stream.getparams()[:4], stream.readframes(stream.getnframes())
    finally:
        stream.close()


def values_of(sound, channel=0):
    sound = kz.object.Audio(sound)
    values = kz.Storage('f', sound.Length())
    sound.Read(channel, 0, sound.Length(), values)
    return list(values.get())


def convert(source, target, format=''):
    kz.eval('audio.convert {%s} {%s} %s' % (path(source), path(target), format))


def made(frequency, channels, format, *rows):
    sound = kz.object.AudioWrite(AUDIO.CreateAudio())
    sound.SetFormat(frequency, channels, format)
    for channel, row in enumerate(rows):
        sound.Write(channel, 0, len(row), storage('f', *row))
    return sound


def check_wave_files_are_those_of_the_interpreter():
    for size, row in sorted(ROWS.items()):
        for channels in 1, 2, 3:
            write_wave('in.wav', row, size, channels, 11025 * channels)
            sound = AUDIO.Load(path('in.wav'))
            equal((sound.Frequency(), sound.Channels(), sound.Length(), sound.Format(), sound.Name()),
                  (11025 * channels, channels, len(row) // channels, size - 1, 'in'))
            middle, full = (128 if size == 1 else 0), float(2 ** (8 * size - 1))
            for channel in range(channels):
                near(values_of(sound, channel), [(value - middle) / full for value in row[channel::channels]], 1e-7)
            convert('in.wav', 'out.wav')
            equal(read_wave('out.wav'), read_wave('in.wav'))
    write_wave('odd.wav', [1, 2, 3], 1, 1)
    convert('odd.wav', 'out.wav')
    equal(read_wave('out.wav')[1], '\1\2\3')


def check_formats_are_converted():
    write_wave('in.wav', ROWS[2], 2, 2)
    for format, size in ('int24', 3), ('int8', 1):
        convert('in.wav', 'out.wav', format)
        equal(read_wave('out.wav')[0], (2, size, 8000, 3))
    convert('in.wav', 'float.wav', 'float')
    equal(struct.unpack('<6f', open(path('float.wav'), 'rb').read()[-24:]),
          tuple(value / 32768.0 for value in ROWS[2]))
    convert('float.wav', 'out.wav', 'int16')
    equal(read_wave('out.wav'), read_wave('in.wav'))
    before = os.listdir(FOLDER)
    equal([code_of(convert, *words) for words in
           (('in.wav', 'new.wav', 'int32'), ('none.wav', 'new.wav'), ('in.wav', 'new.unknown'))],
          ['INVALIDARG', 'NOTFOUND', 'NOTSUPPORTED'])
    equal(os.listdir(FOLDER), before)


def check_damaged_files_are_refused():
    write_wave('good.wav', ROWS[2], 2, 2)
    good = open(path('good.wav'), 'rb').read()
    for length in range(len(good)):  # half of a file is no sound
        open(path('bad.wav'), 'wb').write(good[:length])
        equal(code_of(AUDIO.Load, path('bad.wav')), 'FAILED')
    for at, value, code in ((20, '\2\0', 'NOTSUPPORTED'), (22, '\0\0', 'INVALIDARG'), (24, '\0\0\0\0', 'INVALIDARG'),
                            (32, '\5\0', 'FAILED'), (34, '\0\0', 'NOTSUPPORTED'), (34, '\x40\0', 'NOTSUPPORTED'),
                            (16, '\xff\xff\xff\xff', 'FAILED'), (40, '\xff\xff\xff\x7f', 'FAILED')):
        open(path('bad.wav'), 'wb').write(good[:at] + value + good[at + len(value):])
        equal((at, code_of(AUDIO.Load, path('bad.wav'))), (at, code))


def check_sounds_keep_what_is_written():
    write = made(10, 2, iAUDIO_INT24, [0.5, -1, 0.25], [0, 0.125])
    sound = kz.object.Audio(write)
    equal((sound.Length(), sound.Duration(), values_of(sound, 1)), (3, 0.3, [0, 0.125, 0]))
    equal([sound.Peak(0, *times) for times in ((0, 1), (0, 0.1), (0.15, 9), (-5, 0), (0.1, 0.1))], [1, 0.5, 0.25, 0, 0])
    equal((sound.LoopStart(), sound.LoopEnd()), (-1, -1))
    write.SetLoop(1, 3)
    write.AddMarker(0.2, 'late')
    write.AddMarker(0.1, 'early')
    equal((sound.LoopStart(), sound.LoopEnd(), sound.MarkerCount(), sound.MarkerByIndex(0), sound.MarkerByIndex(1)),
          (1, 3, 2, (0.1, 'early'), (0.2, 'late')))
    nan, two = float('nan'), storage('f', 0.75, 2)
    fails('OUTOFBOUNDS', (sound.Read, 0, 1, 3, kz.Storage('f', 3)), (sound.Read, 0, 4, 0, kz.Storage('f', 1)),
          (sound.Read, 0, 0xFFFFFFFF, 1, kz.Storage('f', 1)), (sound.MarkerByIndex, 2))
    fails('INVALIDARG', (sound.Read, 2, 0, 1, kz.Storage('f', 1)), (write.Write, 2, 0, 1, storage('f', 0)),
          (write.Write, 0, 0, 2, two), (write.Write, 0, 0, 1, storage('f', nan)), (write.SetLoop, 2, 4),
          (write.SetLoop, 1, 1), (write.SetLoop, -1, 1), (write.AddMarker, nan, 'x'), (write.AddMarker, -1, 'x'),
          (write.SetFormat, 0, 1, 0), (write.SetFormat, 1, 0, 0), (write.SetFormat, 1, 1, 4))
    fails('OUTOFMEMORY', (write.SetLength, 0xFFFFFFFF), (write.Write, 0, 0xFFFFFFFF, 1, storage('f', 0)))
    equal((values_of(sound), sound.LoopEnd()), ([0.5, -1, 0.25], 3))  # what was refused has changed nothing
    equal('AudioWrite.Write: sample 1 is from -1 to 1, not 2' in reasons(), True)
    write.SetLength(2)
    equal((values_of(sound), sound.LoopStart()), ([0.5, -1], -1))


class Tones(kzifc.Audio):
    """A sound of a module."""
    rows, frequency = ([0.5, -0.5], [1, 3]), 10

    def audio_Frequency(self):
        return self.frequency

    def audio_Channels(self):
        return len(self.rows)

    def audio_Length(self):
        return len(self.rows[0])

    def audio_Format(self):
        return iAUDIO_FLOAT

    def audio_Read(self, channel, start, count, samples):
        samples.set(self.rows[channel][start:start + count])


class Loader(kzifc.Loader):
    def load_Recognize(self, path, info):
        kz.object.LoaderInfo(info).SetClass(sFILECLASS_AUDIO)

    def load_LoadObject(self, path, info, monitor, target):
        target = kz.object.AudioLoaderTarget(target)
        if 'tones' in path:
            return target.SetAudio(Tones())
        if 'liar' in path:
            liar = Tones()
            liar.frequency = 0
            return target.SetAudio(liar)
        if 'nothing' in path:
            return None
        samples = storage('b', 0, 64, 128, 192)
        fails('INVALIDARG', (target.Write, 2, 4, samples), (target.SetAudio, None))
        target.SetFormat(5, 2, iAUDIO_INT8)
        fails('INVALIDARG', (target.Write, 1, 4, samples), (target.Write, 0xFFFFFFFF, 4, samples))
        target.Write(2, 4, samples)
        fails('INVALIDARG', (target.SetFormat, 5, 2, iAUDIO_INT16))
        target.Write(1, 2, storage('b', 127, 1))


class Saver(kzifc.Saver):
    def sav_Save(self, source, path, monitor):
        with open(path, 'w') as stream:
            stream.write(repr(values_of(source)))
            if kz.object.Audio(source).Channels() > 2:
                raise ValueError('half-way')


kz.bless(Tones, 'tests.tones')
kz.bless(Loader, 'tests.sound', {'loader.dosPattern': '*.snd', 'file.class': 'audio'})
kz.bless(Saver, 'tests.sound', {'saver.dosType': 'txt', 'file.class': 'audio'})


def check_loaders_and_savers():
    for name in 'plain.snd', 'tones.snd', 'liar.snd', 'nothing.snd':
        open(path(name), 'w').close()
    sound = AUDIO.Load(path('plain.snd'))
    equal((sound.Frequency(), sound.Name(), values_of(sound), values_of(sound, 1)),
          (5, 'plain', [0, -1, 127 / 128.0], [0.5, -0.5, 1 / 128.0]))
    sound = AUDIO.Load(path('tones.snd'))
    equal((values_of(sound), values_of(sound, 1)), ([0.5, -0.5], [1, 1]))  # no more than the loudest
    fails('INVALIDARG', (AUDIO.Load, path('liar.snd')))
    fails('FAILED', (AUDIO.Load, path('nothing.snd')))
    convert('plain.snd', 'told.txt')
    equal(open(path('told.txt')).read(), repr([0.0, -1.0, 127 / 128.0]))
    write_wave('three.wav', ROWS[2], 2, 3)
    equal(code_of(convert, 'three.wav', 'told.txt') is not None, True)
    equal(open(path('told.txt')).read(), repr([0.0, -1.0, 127 / 128.0]))  # the former file stays
