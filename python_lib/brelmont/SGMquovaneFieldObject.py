"""The field object of equations and validation rules: one repeat of a field, or one sub field
or sub sub field below it.  Reads never grow the message; writes make what they need."""
import sgpy


def _check_min(value, name):
    if value < 0:
        raise RuntimeError("Range index error. %s was %d when it should have been greater or equal to 0"
                           % (name, value))


def _subfield_path(base, index, subindex):
    """The path of `subfield(index, subindex)` below a field object at `base`."""
    _check_min(index, "Subfield Index (first argument)")
    if subindex is not None:
        _check_min(subindex, "Subsubfield Index (second argument)")
    if len(base) >= 2:
        raise RuntimeError("A sub sub field has no sub fields")
    return base + (index,) if subindex is None or base else (index, subindex)


class QuovaneFieldObject:
    # path: () the field repeat, (s,) a sub field, (s, ss) a sub sub field
    __slots__ = ("_pool", "_repeats", "_repeat", "_path")

    def __init__(self, pool, repeats, repeat, path=()):
        object.__setattr__(self, "_pool", pool.handle if hasattr(pool, "handle") else pool)
        object.__setattr__(self, "_repeats", repeats.handle if hasattr(repeats, "handle") else repeats)
        object.__setattr__(self, "_repeat", repeat)
        object.__setattr__(self, "_path", tuple(path))

    # --- native positions

    def _field(self, grow=False):
        repeats = self._repeats
        if sgpy.SGMfieldRepeatsGetCountOfFieldRepeat(repeats) <= self._repeat:
            if not grow:
                return None
            sgpy.SGMfieldRepeatsSetCountOfFieldRepeat(repeats, self._repeat + 1)
        return sgpy.SGMfieldRepeatsGetFieldRepeat(repeats, self._repeat)

    def _value_handle(self, grow=False):
        field = self._field(grow)
        if field is None:
            return None
        sub = self._path[0] if self._path else 0
        subsub = self._path[1] if len(self._path) > 1 else 0
        if sgpy.SGMfieldGetCountOfSubField(field) <= sub:
            if not grow:
                return None
            sgpy.SGMfieldSetCountOfSubField(field, sub + 1)
        if sgpy.SGMfieldGetCountOfSubSubField(field, sub) <= subsub:
            if not grow:
                return None
            sgpy.SGMfieldSetCountOfSubSubField(field, sub, subsub + 1)
        return sgpy.SGMfieldGetValue(field, sub, subsub)

    # --- attributes

    def __getattr__(self, name):
        if name == "value":
            handle = self._value_handle()
            return "" if handle is None else sgpy.SGMvalueGetData(handle)
        if name == "sub":
            return self
        raise AttributeError(name)

    def __setattr__(self, name, value):
        if name == "value":
            if not isinstance(value, str):
                raise TypeError("a field value must be a str, not %s" % type(value).__name__)
            sgpy.SGMstringPoolSetValue(self._pool, self._value_handle(True), value)
            return
        if name == "subfield":
            return
        raise RuntimeError("Field object does not support attribute " + name)

    def __str__(self):
        return self.value

    # --- methods

    def subfield(self, index, subindex=None):
        return QuovaneFieldObject(self._pool, self._repeats, self._repeat, _subfield_path(self._path, index, subindex))

    def count_of_subfield(self, repeat=0):
        _check_min(repeat, "Repeat Index (first argument)")
        if self._path:
            field = self._field()
            if field is None or len(self._path) > 1:
                return 0
            sub = self._path[0]
            if sgpy.SGMfieldGetCountOfSubField(field) <= sub:
                return 0
            return sgpy.SGMfieldGetCountOfSubSubField(field, sub)
        if sgpy.SGMfieldRepeatsGetCountOfFieldRepeat(self._repeats) <= repeat:
            return 0
        return sgpy.SGMfieldGetCountOfSubField(sgpy.SGMfieldRepeatsGetFieldRepeat(self._repeats, repeat))

    def set_count_of_subfield(self, count):
        _check_min(count, "Count (first argument)")
        field = self._field(True)
        if not self._path:
            sgpy.SGMfieldSetCountOfSubField(field, count)
        elif len(self._path) == 1:
            sub = self._path[0]
            if sgpy.SGMfieldGetCountOfSubField(field) <= sub:
                sgpy.SGMfieldSetCountOfSubField(field, sub + 1)
            sgpy.SGMfieldSetCountOfSubSubField(field, sub, count)
        return 1

    def is_null(self):
        handle = self._value_handle()
        if handle is None or sgpy.SGMvalueIsNull(handle):
            return 1
        if self.count_of_subfield() > 1:
            return 0
        return 1 if sgpy.SGMvalueGetSize(handle) == 0 else 0

    def count_of_repeat(self):
        if self._path:
            return 1
        return sgpy.SGMfieldRepeatsGetCountOfFieldRepeat(self._repeats)

    def set_count_of_repeat(self, count):
        _check_min(count, "Count (first argument)")
        if self._path:
            raise RuntimeError("Only a field has repeats")
        sgpy.SGMfieldRepeatsSetCountOfFieldRepeat(self._repeats, count)
        return 1

    def repeat_field(self, repeat):
        _check_min(repeat, "Repeat Index (first argument)")
        return QuovaneFieldObject(self._pool, self._repeats, repeat, self._path)

    def clear(self):
        field = self._field()
        if field is None:
            return 1
        if not self._path:
            sgpy.SGMfieldClear(field)
            sgpy.SGMfieldSetCountOfSubField(field, 1)
            return 1
        handle = self._value_handle()
        if handle is not None:
            if len(self._path) == 1:
                sgpy.SGMfieldSetCountOfSubSubField(field, self._path[0], 1)
                handle = self._value_handle()
            sgpy.SGMstringPoolSetValue(self._pool, handle, "")
        return 1
