"""The exception a validation rule raises to reject a message, with a description and named
parameters that reach the error report."""
import sgpy


class QuovaneErrorObject:
    def __init__(self, description=""):
        self.description = description
        self._parameters = {}

    def parameter(self, name):
        return self._parameters.get(name, "")

    def set_parameter(self, name, value):
        if not isinstance(name, str) or not isinstance(value, str):
            raise TypeError("set_parameter takes two str arguments")
        self._parameters[name] = value
        return 1


class QuovaneException(Exception):
    def __init__(self, description=None):
        Exception.__init__(self, "" if description is None else description)
        shared = type(self).__dict__.get("errorobject")
        if shared is None:
            self.errorobject = QuovaneErrorObject("" if description is None else str(description))
        elif description is not None:
            shared.description = str(description)

    @staticmethod
    def colErrorHandle(error):
        """A new native error, handed over to the caller, from an error object."""
        if isinstance(error, QuovaneException) or (isinstance(error, type) and hasattr(error, "errorobject")):
            error = error.errorobject
        handle = sgpy.COLerrorCreate()
        try:
            sgpy.COLerrorSetDescription(handle, str(error.description))
            for key, value in error._parameters.items():
                sgpy.COLerrorSetParameter(handle, key, value)
        except BaseException:
            sgpy.COLerrorRelease(handle)
            raise
        return handle


def CreateLegacyExceptionObject():
    """A fresh exception class for one rule call: `raise qvmexception` carries its error object."""
    return type("qvmexception", (QuovaneException,), {"errorobject": QuovaneErrorObject()})


def CheckTypeQuovaneException(candidate):
    return 1 if isinstance(candidate, (QuovaneErrorObject, QuovaneException)) else 0
