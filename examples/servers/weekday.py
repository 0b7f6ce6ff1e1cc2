"""A value type: days of the week, with their texts, and a list of choices that a sub-server answers.

The sub-server is a class of its own. The host makes an object of it when it asks a weekday for an interface that the
value itself does not have.

    kzhost --import-path examples eval "print kz.service.Value().CreateValue('weekday').GetString()"
    kzhost --import-path examples cmd "user.value market friday type:weekday"
"""

import kz
import kzifc

DAYS = ['monday', 'tuesday', 'wednesday', 'thursday', 'friday', 'saturday', 'sunday']


class Choices(kzifc.UIValueHints):
    def uiv_Flags(self):
        return kz.symbol.fVALHINT_POPUPS

    def uiv_PopCount(self):
        return len(DAYS)

    def uiv_PopInternalName(self, index):
        return DAYS[index]

    def uiv_PopUserName(self, index):
        return DAYS[index].capitalize()


class Weekday(kzifc.Value, kzifc.StringConversion, kzifc.StringConversionNice):
    def __init__(self, meta):
        self.day = 0

    def val_Type(self):
        return kz.symbol.iVALUE_TYPE_INTEGER

    def val_TypeName(self):
        return 'weekday'

    def val_GetInt(self):
        return self.day

    def val_SetInt(self, value):
        if not 0 <= value < len(DAYS):
            kz.throw(kz.symbol.e_OUTOFBOUNDS, True)
        self.day = value

    def val_Copy(self, other):
        self.val_SetString(kz.object.Value(other).GetString())

    def val_Compare(self, other):
        return self.day - kz.object.Value(other).GetInt()

    def val_GetString(self):
        return self.str_Encode()

    def val_SetString(self, text):
        self.str_Decode(text)

    def str_Encode(self):
        return DAYS[self.day]

    def str_Decode(self, text):
        if text not in DAYS:
            kz.throw(kz.symbol.e_INVALIDARG, True)
        self.day = DAYS.index(text)

    def nicestr_Encode(self):
        return DAYS[self.day].capitalize()

    def nicestr_Decode(self, text):
        self.str_Decode(text.strip().lower())


class Meta(object):
    """What all objects of one server share. Its sub-servers are pairs of a class and that class's own meta object."""

    _sub_ifcs = [(Choices, None)]


kz.bless(Weekday, 'weekday', {'server.username': 'Day of the Week'}, Meta())
