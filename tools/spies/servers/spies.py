"""A spy for every kind of server that Python can implement: each operation notes that the host has called it.

The spies of SPIES also answer, so that the host goes on and calls more. What is noted goes to the file KZ_SPIES, one line
"KIND OPERATION" each. No answer calls an operation, and whoever drives the host makes sure that only the host does.
"""

import ctypes
import os
import re

import kz
import kzifc
from kz import symbol

_OPERATION = re.compile('[a-z]+[a-z0-9]*_[A-Z]')
_noted = set()


def note(line):
    if line not in _noted:
        _noted.add(line)
        with open(os.environ['KZ_SPIES'], 'a') as stream:
            stream.write(line + '\n')


def operations(kind):
    return [name for name in vars(getattr(kzifc, kind)) if _OPERATION.match(name)]


def spying(kind, name, answer):
    def operation(self, *given):
        note(kind + ' ' + name)
        if answer is None:
            raise NotImplementedError
        return answer(self, *given) if callable(answer) else answer
    return operation


def done(self, *given):
    """Answers that all went well."""


def spy_class(*kinds, **answers):
    """A class of spies of these kinds. An answer is a value, or a function of the spy and of what the host passes."""
    methods = dict((name, spying(kind, name, answers.pop(name, None))) for kind in kinds for name in operations(kind))
    assert not answers, answers
    methods['__init__'] = done  # with or without a meta object
    return type('Spy' + kinds[0], tuple(getattr(kzifc, kind) for kind in kinds), methods)


# Commands: the arguments are a text of the spied type, a toggle, numbers that take no texts, and choices.

ARGUMENTS = [('text', 'spied'), ('state', 'boolean'), ('count', 'integer'), ('size', 'float'), ('mode', 'integer')]
OPTIONAL = symbol.fCMDARG_OPTIONAL | symbol.fCMDARG_QUERY | symbol.fCMDARG_TOGGLE


class Choice(ctypes.Structure):
    _fields_ = [('value', ctypes.c_int), ('name', ctypes.c_char_p)]


CHOICES = (Choice * 3)(Choice(1, 'one'), Choice(2, 'two'), Choice(0, None))
ADDRESS = ctypes.addressof(CHOICES)


def no(condition, code='NOTIMPL'):
    if condition:
        kz.throw(getattr(symbol, 'e_' + code), True)


def choices(self, index):
    no(index != 4, 'NOTFOUND')
    return ADDRESS


def query(self, index, values):
    kz.object.ValueArray(values).AddString('1')


COMMAND = dict(
    attr_Count=len(ARGUMENTS), attr_Name=lambda self, index: ARGUMENTS[index][0], attr_Hints=choices,
    attr_TypeName=lambda self, index: ARGUMENTS[index][1], attr_GetString='',
    attr_SetString=lambda self, index, text: no(index > 1), attr_SetInt=lambda self, index, value: no(index == 3),
    attr_SetFlt=done, cmd_Execute=done, cmd_ToggleArg=1, cmd_Query=query,
    cmd_ArgFlags=lambda self, index: OPTIONAL if index else symbol.fCMDARG_QUERY)

# A tree of two levels.


def move(step):
    return lambda self: setattr(self, 'depth', step(getattr(self, 'depth', 0)))


TREE = dict(
    tree_ToRoot=move(lambda depth: 0), tree_ToChild=move(lambda depth: depth + 1),
    tree_ToParent=move(lambda depth: depth - 1), tree_Count=1, tree_SetCurrent=done,
    tree_ChildIsLeaf=lambda self: getattr(self, 'depth', 0) > 0, treeview_ColumnCount=1, treeview_Name='leaf')

# Pictures.


def recognize(self, path, info):
    kz.object.LoaderInfo(info).SetClass(symbol.sFILECLASS_IMAGE)


def load(self, path, info, monitor, target):
    kz.object.ImageLoaderTarget(target).SetImage(Pixels())


def save(self, source, path, monitor):
    open(path, 'w').close()


Pixels = spy_class('Image', img_Size=(2, 2), img_Format=symbol.iIMG_FORMAT_GREY, img_GetPixel=done)
Layers = spy_class('LayeredImage', limg_LayerCount=1, limg_LayerByIndex=lambda self, index: Pixels(), limg_LayerOpacity=1.0,
                   limg_LayerBlend=0, limg_LayerFlags=0, limg_LayerParent=-1)
Lines = spy_class('Image', img_Size=(2, 2), img_Format=symbol.iIMG_FORMAT_GREY, img_GetLine=done)

# Values: an integer and a text.


def text_of(self):
    return getattr(self, 'text', '1')


def set_text(self, value):
    self.text = str(value)


class Meta(object):
    _sub_ifcs = [(spy_class('UIValueHints', uiv_Flags=symbol.fVALHINT_POPUPS, uiv_PopCount=2,
                            uiv_PopInternalName=lambda self, index: 'ab'[index]), None)]


SPIES = [
    ('spied.command', ('Command', 'Attributes'), {}, COMMAND),
    ('spied', ('Tree', 'TreeView'), {}, TREE),
    ('spied', ('Loader',), {'loader.dosPattern': '*.spied'}, dict(load_Recognize=recognize, load_LoadObject=load)),
    ('spied', ('Saver',), {'saver.dosType': 'spied'}, dict(sav_Save=save)),
    ('spied', ('MeshOperation',), {}, dict(mop_Evaluate=done)),
    ('spied', ('ImageFilter',), {}, dict(imf_Begin=done, imf_Margin=(1, 1), imf_FilterLine=done)),
    ('spied', ('PresetType',), {}, dict(
        ptyp_Recognize='spied', ptyp_Apply=done, ptyp_Save=done, ptyp_CanApplyTo=True, ptyp_Do=done, ptyp_BaseAspect=1,
        ptyp_GenericThumbnailResource='icon', ptyp_DestinationKind='item', ptyp_StoreThumbnail=done,
        ptyp_Metrics=lambda self, path, flags: spy_class('PresetMetrics', pmet_ThumbnailIdealSize=(1, 1), pmet_Flags=0)())),
    ('spied', ('PresetDo',), {}, dict(pdo_DoByName='/dev/null', pdo_Do=done)),
    ('spied', ('TextScriptInterpreter',), {}, dict(
        tsi_ValidateHeader=lambda self, header: no(not header.startswith('# spied')),
        tsi_Run=done)),
    ('spied', ('Value', 'StringConversion'), {}, dict(
        val_Type=symbol.iVALUE_TYPE_STRING, val_TypeName='spied', str_Encode=text_of, str_Decode=set_text)),
    ('spied.number', ('Value', 'StringConversionNice'), {}, dict(
        val_Type=symbol.iVALUE_TYPE_INTEGER, val_TypeName='spied.number', val_GetInt=lambda self: int(text_of(self)),
        val_SetInt=set_text, val_GetFlt=lambda self: float(text_of(self)), val_SetFlt=set_text, val_GetString=text_of,
        val_SetString=set_text, val_Copy=done, val_Compare=0, nicestr_Encode=text_of, nicestr_Decode=set_text)),
]

for name, kinds, tags, answers in SPIES:
    kz.bless(spy_class(*kinds, **answers), name, tags, Meta() if 'StringConversion' in kinds else None)
for kind in kzifc.__all__:
    kz.bless(spy_class(kind), 'bare.' + kind.lower())
