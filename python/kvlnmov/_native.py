"""The shared library and the C records of include/kvlnmov/kvlnmov.h, through ctypes."""

import ctypes
import ctypes.util
import os

# Variant types and declared kinds (kvlnmov_type).
EMPTY_TYPE = 0
NULL_TYPE = 1
INTEGER = 2
LONG = 3
DOUBLE = 5
CURRENCY = 6
DATE = 7
STRING = 8
OBJECT = 9
BOOLEAN = 11
VARIANT = 12
BYTE = 17
VOID = 24

KIND_NAMES = {
    INTEGER: "Integer", LONG: "Long", DOUBLE: "Double", CURRENCY: "Currency", DATE: "Date",
    STRING: "String", OBJECT: "Object", BOOLEAN: "Boolean", VARIANT: "Variant", BYTE: "Byte",
    VOID: "Void",
}


class Date(ctypes.Structure):
    _fields_ = [("year", ctypes.c_int32), ("month", ctypes.c_int32), ("day", ctypes.c_int32),
                ("hour", ctypes.c_int32), ("minute", ctypes.c_int32),
                ("second", ctypes.c_int32), ("millisecond", ctypes.c_int32)]


class Value(ctypes.Union):
    _fields_ = [("boolean", ctypes.c_int32), ("byte", ctypes.c_uint8),
                ("integer", ctypes.c_int16), ("long_value", ctypes.c_int32),
                ("currency", ctypes.c_int64), ("real", ctypes.c_double), ("date", Date),
                ("text", ctypes.c_void_p), ("object", ctypes.c_void_p)]


class Variant(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int32), ("value", Value)]


class ErrorRecord(ctypes.Structure):
    _fields_ = [("number", ctypes.c_int32), ("native_error", ctypes.c_int32),
                ("source", ctypes.c_void_p), ("description", ctypes.c_void_p)]


class CompanySeed(ctypes.Structure):
    _fields_ = [("company", ctypes.c_int16), ("exercise", ctypes.c_int16),
                ("name", ctypes.c_char_p), ("first_day", Date), ("last_day", Date),
                ("levels", ctypes.c_char_p), ("numbering", ctypes.c_int16),
                ("tax", ctypes.c_int16), ("open", ctypes.c_int32)]


class ContextSettings(ctypes.Structure):
    _fields_ = [("company", ctypes.c_int16), ("exercise", ctypes.c_int16),
                ("first_day", Date), ("last_day", Date),
                ("level_lengths", ctypes.POINTER(ctypes.c_int16)),
                ("level_count", ctypes.c_size_t), ("numbering", ctypes.c_int16),
                ("tax", ctypes.c_int16)]


class ParameterInfo(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("kind", ctypes.c_int32),
                ("optional", ctypes.c_int32)]


class PropertyInfo(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("kind", ctypes.c_int32),
                ("index_count", ctypes.c_int32), ("readable", ctypes.c_int32),
                ("writable", ctypes.c_int32)]


class MethodInfo(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("result", ctypes.c_int32),
                ("parameter_count", ctypes.c_size_t),
                ("parameters", ctypes.POINTER(ParameterInfo))]


class ClassInfo(ctypes.Structure):
    _fields_ = [("prog_id", ctypes.c_char_p), ("name", ctypes.c_char_p),
                ("property_count", ctypes.c_size_t),
                ("properties", ctypes.POINTER(PropertyInfo)),
                ("method_count", ctypes.c_size_t), ("methods", ctypes.POINTER(MethodInfo))]


def _candidates():
    chosen = os.environ.get("KVLNMOV_LIBRARY")
    if chosen:
        yield chosen
        return
    here = os.path.dirname(os.path.abspath(__file__))
    for name in ("libkvlnmov.so", "libkvlnmov.so.1"):
        path = os.path.join(here, name)
        if os.path.exists(path):
            yield path
    # An installed package knows where its library was installed.
    try:
        from . import _installed
        yield _installed.LIBRARY
    except ImportError:
        pass
    found = ctypes.util.find_library("kvlnmov")
    if found:
        yield found
    yield "libkvlnmov.so.1"


def _load():
    """The library named by KVLNMOV_LIBRARY, else the one next to this package, else the one
    the package was installed with, else the one the system's loader finds."""
    failures = []
    for candidate in _candidates():
        try:
            return ctypes.CDLL(candidate)
        except OSError as error:
            failures.append(str(error))
    raise ImportError("kvlnmov: cannot load libkvlnmov.so (set KVLNMOV_LIBRARY): " +
                      "; ".join(failures))


lib = _load()

_status = ctypes.c_int32
_handle = ctypes.c_void_p
_handle_out = ctypes.POINTER(ctypes.c_void_p)
_error = ctypes.POINTER(ErrorRecord)
_variant = ctypes.POINTER(Variant)
_text_out = ctypes.POINTER(ctypes.c_void_p)


def _declare(name, result, *arguments):
    function = getattr(lib, name)
    function.restype = result
    function.argtypes = list(arguments)


MESSAGE_BOX = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int32,
                               ctypes.c_int32, ctypes.c_char_p)
YIELD = ctypes.CFUNCTYPE(None, ctypes.c_void_p)

_declare("kvlnmov_version", ctypes.c_char_p)
_declare("kvlnmov_set_user_interface", _status, MESSAGE_BOX, YIELD, ctypes.c_void_p, _error)
_declare("kvlnmov_reset", None)
_declare("kvlnmov_free", None, ctypes.c_void_p)
_declare("kvlnmov_error_clear", None, _error)
_declare("kvlnmov_variant_clear", None, _variant)
_declare("kvlnmov_release", None, _handle)
_declare("kvlnmov_same_object", ctypes.c_int, _handle, _handle)
_declare("kvlnmov_class_name", _status, _handle, _text_out, _error)
_declare("kvlnmov_create", _status, ctypes.c_char_p, _handle_out, _error)
_declare("kvlnmov_get", _status, _handle, ctypes.c_char_p, _variant, ctypes.c_size_t, _variant,
         _error)
_declare("kvlnmov_put", _status, _handle, ctypes.c_char_p, _variant, ctypes.c_size_t, _variant,
         _error)
_declare("kvlnmov_invoke", _status, _handle, ctypes.c_char_p, _variant, ctypes.c_size_t,
         _variant, _error)
_declare("kvlnmov_connect", _status, ctypes.c_char_p, _handle_out, _error)
_declare("kvlnmov_execute", _status, _handle, ctypes.c_char_p, ctypes.POINTER(ctypes.c_int32),
         _error)
_declare("kvlnmov_query", _status, _handle, ctypes.c_char_p, _handle_out, _error)
_declare("kvlnmov_company_seed_init", None, ctypes.POINTER(CompanySeed))
_declare("kvlnmov_seed_company", _status, _handle, ctypes.POINTER(CompanySeed), _error)
_declare("kvlnmov_context_open", _status, _handle, ctypes.c_int16, ctypes.c_int16, _handle_out,
         _error)
_declare("kvlnmov_context_new", _status, ctypes.POINTER(ContextSettings), _handle_out, _error)
_declare("kvlnmov_context_set_value", _status, _handle, ctypes.c_char_p, _variant, _error)
_declare("kvlnmov_context_value", _status, _handle, ctypes.c_char_p, _variant, _error)
_declare("kvlnmov_recordset_new", _status, _handle_out, _error)
_declare("kvlnmov_recordset_eof", _status, _handle, ctypes.POINTER(ctypes.c_int), _error)
_declare("kvlnmov_recordset_move_next", _status, _handle, _error)
_declare("kvlnmov_recordset_field_count", _status, _handle, ctypes.POINTER(ctypes.c_int32),
         _error)
_declare("kvlnmov_recordset_field_name", _status, _handle, ctypes.c_int32, _text_out, _error)
_declare("kvlnmov_recordset_field", _status, _handle, ctypes.c_int32, _variant, _error)
_declare("kvlnmov_recordset_field_by_name", _status, _handle, ctypes.c_char_p, _variant, _error)
_declare("kvlnmov_registered_classes", _status, ctypes.POINTER(ctypes.POINTER(ClassInfo)),
         ctypes.POINTER(ctypes.c_size_t), _error)
_declare("kvlnmov_classes_free", None, ctypes.POINTER(ClassInfo), ctypes.c_size_t)
