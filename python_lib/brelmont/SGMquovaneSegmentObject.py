"""The segment object of validation rules."""
import sgpy

from brelmont.SGMquovaneFieldObject import QuovaneFieldObject, _check_min


class QuovaneSegmentObject:
    __slots__ = ("_pool", "_segment")

    def __init__(self, pool, segment):
        object.__setattr__(self, "_pool", pool.handle)
        object.__setattr__(self, "_segment", segment.handle)

    def __setattr__(self, name, value):
        raise RuntimeError("TypedSegment object does not support attribute " + name)

    def name(self):
        return sgpy.SGMvalueGetData(sgpy.SGMsegmentGetName(self._segment))

    def count_of_field(self):
        return sgpy.SGMsegmentGetCountOfField(self._segment)

    def field(self, index, sub=None):
        _check_min(index, "Field Index (first argument)")
        if index >= self.count_of_field():
            raise RuntimeError("Range index error. Field Index (first argument) was %d when it should have been "
                               "less than %d" % (index, self.count_of_field()))
        repeats = sgpy.SGMsegmentGetFieldRepeats(self._segment, index)
        result = QuovaneFieldObject(self._pool, repeats, 0)
        if sub is None:
            return result
        if isinstance(sub, int):
            sub = (sub,)
        _check_min(sub[0], "Subfield Index (second argument)")
        if len(sub) > 1:
            _check_min(sub[1], "SubSubfield Index (third argument)")
            return result.subfield(sub[0], sub[1])
        return result.subfield(sub[0])
