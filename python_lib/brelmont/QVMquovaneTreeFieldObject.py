"""The field object of equations on a raw tree node of the legacy parser, and of outgoing segment
functions: the same interface as SGMquovaneFieldObject, over the node's repeats and sub-nodes.
Reads never grow the message; writes make what they need."""
import sgpy
from brelmont.SGMquovaneFieldObject import _check_min, _subfield_path


class QuovaneTreeFieldObject:
    # path: () the field repeat, (s,) a sub field, (s, ss) a sub sub field
    __slots__ = ("_field", "_repeat", "_path")

    def __init__(self, field, repeat, path=()):
        object.__setattr__(self, "_field", field)
        object.__setattr__(self, "_repeat", repeat)
        object.__setattr__(self, "_path", tuple(path))

    def _node(self, grow=False):
        node = sgpy.QVMtreeRepeat(self._field, self._repeat, grow)
        for index in self._path:
            if node is None:
                return None
            node = sgpy.QVMtreeSubNode(node, index, grow)
        return node

    def __getattr__(self, name):
        if name == "value":
            node = self._node()
            return "" if node is None else sgpy.QVMtreeGetValue(node)
        if name == "sub":
            return self
        raise AttributeError(name)

    def __setattr__(self, name, value):
        if name == "value":
            if not isinstance(value, str):
                raise TypeError("a field value must be a str, not %s" % type(value).__name__)
            sgpy.QVMtreeSetValue(self._node(True), value)
            return
        if name == "subfield":
            return
        raise RuntimeError("Field object does not support attribute " + name)

    def __str__(self):
        return self.value

    def subfield(self, index, subindex=None):
        return QuovaneTreeFieldObject(self._field, self._repeat, _subfield_path(self._path, index, subindex))

    def count_of_subfield(self, repeat=0):
        _check_min(repeat, "Repeat Index (first argument)")
        if len(self._path) > 1:
            return 0
        node = self._node() if self._path else sgpy.QVMtreeRepeat(self._field, repeat, False)
        if node is None:
            return 0
        count = sgpy.QVMtreeCountOfSubNode(node)
        # A bare value is one sub field, as on the current parser's road.
        return count if count else 1

    def set_count_of_subfield(self, count):
        _check_min(count, "Count (first argument)")
        if len(self._path) < 2:
            sgpy.QVMtreeSetCountOfSubNode(self._node(True), count)
        return 1

    def is_null(self):
        node = self._node()
        return 1 if node is None or sgpy.QVMtreeIsNull(node) else 0

    def count_of_repeat(self):
        if self._path:
            return 1
        return sgpy.QVMtreeCountOfRepeat(self._field)

    def set_count_of_repeat(self, count):
        _check_min(count, "Count (first argument)")
        if self._path:
            raise RuntimeError("Only a field has repeats")
        sgpy.QVMtreeSetCountOfRepeat(self._field, max(count, 1))
        return 1

    def repeat_field(self, repeat):
        _check_min(repeat, "Repeat Index (first argument)")
        return QuovaneTreeFieldObject(self._field, repeat, self._path)

    def clear(self):
        node = self._node()
        if node is not None:
            sgpy.QVMtreeClear(node)
        return 1
