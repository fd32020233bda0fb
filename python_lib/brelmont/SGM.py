"""Thin holders of native handles (integers that are addresses of parser objects)."""


class SGMhandle:
    __slots__ = ("handle",)

    def __init__(self, handle):
        if not isinstance(handle, int) or handle == 0:
            raise TypeError("%s needs a non-zero integer handle" % type(self).__name__)
        self.handle = handle


class SGMstringPool(SGMhandle):
    __slots__ = ()


class SGMsegment(SGMhandle):
    __slots__ = ()


class SGMfieldRepeats(SGMhandle):
    __slots__ = ()
