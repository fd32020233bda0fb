"""The tokenised message as Python objects, over the handles of the module sgpy.

A class made from a handle borrows the native object behind it (the host's, or a part of another
object).  Made without one, it creates the native object and holds the script's reference until it
is released: by release(), at the end of a `with` block, or when the object is collected.  A part
(a segment of a list, a value of a field) keeps the object it came from alive.

    message = SGMsegmentList()
    message.parse(text)
    for segment in message.segments():
        print(segment.name().data(), segment.countOfField())
"""
import sgpy


class SGMhandle:
    __slots__ = ("handle", "_owner", "_owned")
    _create = None
    _addref = None
    _release = None

    def __init__(self, handle=None, owner=None):
        if handle is None:
            if type(self)._create is None:
                raise TypeError("%s needs a handle" % type(self).__name__)
            handle = type(self)._create()
            owned = True
        else:
            if not isinstance(handle, int) or isinstance(handle, bool) or handle == 0:
                raise TypeError("%s needs a non-zero integer handle" % type(self).__name__)
            owned = False
        self.handle = handle
        self._owner = owner
        self._owned = owned

    def release(self):
        """Gives up the reference of an object this wrapper created; nothing for a borrowed one."""
        if self._owned:
            self._owned = False
            type(self)._release(self.handle)

    def __del__(self):
        try:
            self.release()
        except Exception:
            pass

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.release()
        return False

    def __eq__(self, other):
        return type(other) is type(self) and other.handle == self.handle

    def __hash__(self):
        return hash(self.handle)

    def __repr__(self):
        return "<%s %d>" % (type(self).__name__, self.handle)

    def _part(self, cls, handle):
        # A part keeps the root of its owner alive, not only its parent.
        return cls(handle, self._owner if self._owner is not None else self)


class SGMvalue(SGMhandle):
    __slots__ = ()
    _create = sgpy.SGMvalueCreate
    _release = sgpy.SGMvalueRelease

    def data(self):
        return sgpy.SGMvalueGetData(self.handle)

    def size(self):
        return sgpy.SGMvalueGetSize(self.handle)

    def isNull(self):
        return sgpy.SGMvalueIsNull(self.handle) == 1

    def __str__(self):
        return self.data()


class SGMsubField(SGMhandle):
    __slots__ = ()
    _create = sgpy.SGMsubFieldCreate
    _release = sgpy.SGMsubFieldRelease

    def countOfSubSubField(self):
        return sgpy.SGMsubFieldGetCountOfSubSubField(self.handle)

    def setCountOfSubSubField(self, count):
        sgpy.SGMsubFieldSetCountOfSubSubField(self.handle, count)

    def value(self, index=0):
        return self._part(SGMvalue, sgpy.SGMsubFieldGetValue(self.handle, index))

    def values(self):
        return [self.value(index) for index in range(self.countOfSubSubField())]


class SGMfield(SGMhandle):
    __slots__ = ()
    _create = sgpy.SGMfieldCreate
    _release = sgpy.SGMfieldRelease

    def countOfSubField(self):
        return sgpy.SGMfieldGetCountOfSubField(self.handle)

    def setCountOfSubField(self, count):
        sgpy.SGMfieldSetCountOfSubField(self.handle, count)

    def countOfSubSubField(self, subField):
        return sgpy.SGMfieldGetCountOfSubSubField(self.handle, subField)

    def setCountOfSubSubField(self, subField, count):
        sgpy.SGMfieldSetCountOfSubSubField(self.handle, subField, count)

    def subField(self, index):
        return self._part(SGMsubField, sgpy.SGMfieldGetSubField(self.handle, index))

    def subFields(self):
        return [self.subField(index) for index in range(self.countOfSubField())]

    def value(self, subField=0, subSubField=0):
        return self._part(SGMvalue, sgpy.SGMfieldGetValue(self.handle, subField, subSubField))

    def clear(self):
        sgpy.SGMfieldClear(self.handle)


class SGMfieldRepeats(SGMhandle):
    __slots__ = ()
    _create = sgpy.SGMfieldRepeatsCreate
    _release = sgpy.SGMfieldRepeatsRelease

    def countOfFieldRepeat(self):
        return sgpy.SGMfieldRepeatsGetCountOfFieldRepeat(self.handle)

    def setCountOfFieldRepeat(self, count):
        sgpy.SGMfieldRepeatsSetCountOfFieldRepeat(self.handle, count)

    def fieldRepeat(self, repeat):
        return self._part(SGMfield, sgpy.SGMfieldRepeatsGetFieldRepeat(self.handle, repeat))

    def fieldRepeats(self):
        return [self.fieldRepeat(repeat) for repeat in range(self.countOfFieldRepeat())]


class SGMsegment(SGMhandle):
    __slots__ = ()
    _create = sgpy.SGMsegmentCreate
    _release = sgpy.SGMsegmentRelease

    def name(self):
        return self._part(SGMvalue, sgpy.SGMsegmentGetName(self.handle))

    def countOfField(self):
        return sgpy.SGMsegmentGetCountOfField(self.handle)

    def countOfFieldRepeat(self, field):
        return sgpy.SGMsegmentGetCountOfFieldRepeat(self.handle, field)

    def setCountOfFieldRepeat(self, field, count):
        sgpy.SGMsegmentSetCountOfFieldRepeat(self.handle, field, count)

    def field(self, field, repeat=0):
        return self._part(SGMfield, sgpy.SGMsegmentGetField(self.handle, field, repeat))

    def fieldRepeats(self, field):
        return self._part(SGMfieldRepeats, sgpy.SGMsegmentGetFieldRepeats(self.handle, field))

    def text(self, separators="\r|~^&"):
        """The segment as delimited text, by the delimiters segment, field, repeat, sub field and
        sub sub field.  MSH starts at its second field: its first is the field delimiter itself."""
        field, repeat, sub, subsub = separators[1:5]
        out = [self.name().data()]
        first = 1 if out[0] == "MSH" else 0
        for index in range(first, self.countOfField()):
            repeats = self.fieldRepeats(index)
            out.append(field + repeat.join(
                sub.join(subsub.join(value.data() for value in part.values()) for part in each.subFields())
                for each in repeats.fieldRepeats()))
        return "".join(out)


class SGMsegmentList(SGMhandle):
    __slots__ = ()
    _create = sgpy.SGMsegmentListCreate
    _release = sgpy.SGMsegmentListRelease

    def parse(self, text):
        """Tokenises `text`; ValueError "Not a valid message?" when it is none.  Parts taken from
        this list before stop working."""
        sgpy.SGMparse(self.handle, text)

    def countOfSegment(self):
        return sgpy.SGMsegmentListGetCountOfSegment(self.handle)

    def segment(self, index):
        return self._part(SGMsegment, sgpy.SGMsegmentListGetSegment(self.handle, index))

    def segments(self):
        return [self.segment(index) for index in range(self.countOfSegment())]

    def separators(self):
        """The delimiters of a parsed HL7 message, from its header: segment, field, repeat, sub
        field, sub sub field."""
        header = self.segment(0)
        field = header.field(0).value().data()
        encoding = header.field(1).value().data()
        encoding += "^~\\&"[len(encoding):]  # sub field, repeat, escape, sub sub field
        return "\r" + field + encoding[1] + encoding[0] + encoding[3]

    def text(self, separators=None):
        """The message as delimited text, each segment ended by the segment delimiter."""
        if separators is None:
            separators = self.separators()
        return "".join(segment.text(separators) + separators[0] for segment in self.segments())


class SGMstringPool(SGMhandle):
    __slots__ = ()
    _create = sgpy.SGMstringPoolCreate
    _release = sgpy.SGMstringPoolRelease

    def setValue(self, value, text):
        """Points `value` at a copy of `text` that this pool keeps."""
        sgpy.SGMstringPoolSetValue(self.handle, value.handle if isinstance(value, SGMvalue) else value, text)


class COLerror(SGMhandle):
    __slots__ = ()
    _create = sgpy.COLerrorCreate
    _release = sgpy.COLerrorRelease

    def description(self):
        return sgpy.COLerrorGetDescription(self.handle)

    def setDescription(self, text):
        sgpy.COLerrorSetDescription(self.handle, text)

    def countOfParameter(self):
        return sgpy.COLerrorGetCountOfParameter(self.handle)

    def hasParameter(self, key):
        return sgpy.COLerrorGetHasParameter(self.handle, key) == 1

    def parameter(self, key):
        return sgpy.COLerrorGetParameter(self.handle, key)

    def setParameter(self, key, value):
        sgpy.COLerrorSetParameter(self.handle, key, value)

    def key(self, index):
        return sgpy.COLerrorGetKey(self.handle, index)


def guid(bits=128):
    """A unique identifier of `bits` bits as hex text: 6 bytes of time, the rest strong random bytes."""
    return sgpy.SGPYguidGenerate(bits)
