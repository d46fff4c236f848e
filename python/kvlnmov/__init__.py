"""kvlnmov from Python: the journal library's objects by late binding, over its C interface.

    import datetime, decimal, kvlnmov
    conn = kvlnmov.connect("Provider=SQLite;Data Source=empresa.db")
    conn.seed_company()                       # a new company database: company 1, 2026
    ctx = kvlnmov.Context(conn, 1, 2026)
    a = kvlnmov.create("KVLNMOV.clsAsiento")
    a.Conexion = conn
    a.cEmpresa = ctx
    a.Fecha = datetime.date(2026, 3, 2)
    a.Insertar()
    print(a.Codigo)

Properties and operations of an object are its attributes, by the names the library registers
(any case). An indexed property is reached with brackets: ``book.Base[0] = Decimal("100")``.
Values cross as Python values: None is Null (and Nothing for an object-typed property),
``kvlnmov.EMPTY`` is Empty, bool, int (beyond 32 bits as exact currency), float,
``decimal.Decimal`` for currency (exact, four decimals), ``datetime.date`` and
``datetime.datetime`` for dates, str, and the library's objects. Every failure raises
``kvlnmov.Error`` with the library's ``number``, ``source`` and ``description``.

The library keeps process-wide state (the connection all objects share): use it from one
thread at a time, and call ``kvlnmov.reset()`` before working on another database.
"""

import ctypes
import datetime
import decimal
from collections import namedtuple

from . import _native as _n

__all__ = ["Error", "EMPTY", "connect", "create", "Context", "Connection", "Object", "Recordset",
           "registered_classes", "reset", "set_user_interface", "version"]


class Error(Exception):
    """A failure raised by the library: its number, source and description, as the C++
    ``kvlnmov::Error`` carries them, and the database's own code for provider errors."""

    def __init__(self, number, source, description, native_error=0):
        super().__init__(f"{number} ({source}): {description}")
        self.number = number
        self.source = source
        self.description = description
        self.native_error = native_error


class _Empty:
    """The Empty value: a variant never assigned."""

    _instance = None

    def __new__(cls):
        if cls._instance is None:
            cls._instance = super().__new__(cls)
        return cls._instance

    def __bool__(self):
        return False

    def __repr__(self):
        return "kvlnmov.EMPTY"


EMPTY = _Empty()

_RUNTIME_SOURCE = "KVLNMOV"
_CURRENCY_UNIT = decimal.Decimal("0.0001")
_INT64_MIN = -(2 ** 63)
_INT64_MAX = 2 ** 63 - 1


def _text(pointer):
    return ctypes.string_at(pointer).decode("utf-8") if pointer else None


def _taken_text(pointer):
    """A text the library returned, freed once read."""
    try:
        return _text(pointer)
    finally:
        _n.lib.kvlnmov_free(pointer)


def _call(function, *arguments):
    """Calls a C entry point with an error record last; raises Error when it fails."""
    record = _n.ErrorRecord()
    status = function(*arguments, ctypes.byref(record))
    if status != 0:
        try:
            raise Error(record.number, _text(record.source), _text(record.description),
                        record.native_error)
        finally:
            _n.lib.kvlnmov_error_clear(ctypes.byref(record))


def _encode(text):
    if not isinstance(text, str):
        raise TypeError(f"expected a text, not {type(text).__name__}")
    if "\0" in text:
        raise ValueError("texts cannot hold a NUL character")
    return text.encode("utf-8")


def _date_fields(value):
    fields = _n.Date(value.year, value.month, value.day, 0, 0, 0, 0)
    if isinstance(value, datetime.datetime):
        fields.hour, fields.minute, fields.second = value.hour, value.minute, value.second
        fields.millisecond = value.microsecond // 1000
    return fields


def _currency_raw(value):
    """The exact count of ten-thousandths of a Decimal (more decimals round half to even)."""
    if not value.is_finite():
        raise Error(6, _RUNTIME_SOURCE, "Overflow")
    raw = int(value.quantize(_CURRENCY_UNIT, rounding=decimal.ROUND_HALF_EVEN,
                             context=decimal.Context(prec=60)).scaleb(4))
    if raw < _INT64_MIN or raw > _INT64_MAX:
        raise Error(6, _RUNTIME_SOURCE, "Overflow")
    return raw


class _In:
    """Python values as C variants; keeps the encoded texts alive while the call runs."""

    def __init__(self):
        self._keep = []

    def variant(self, value, object_kind=False):
        """`object_kind`: the value goes to an object-typed property, where None is Nothing."""
        v = _n.Variant()
        if value is None and object_kind:
            v.type = _n.OBJECT
            v.value.object = None
        elif value is EMPTY:
            v.type = _n.EMPTY_TYPE
        elif value is None:
            v.type = _n.NULL_TYPE
        elif isinstance(value, bool):
            v.type = _n.BOOLEAN
            v.value.boolean = 1 if value else 0
        elif isinstance(value, int):
            if -32768 <= value <= 32767:
                v.type = _n.INTEGER
                v.value.integer = value
            elif -2147483648 <= value <= 2147483647:
                v.type = _n.LONG
                v.value.long_value = value
            else:
                v.type = _n.CURRENCY
                v.value.currency = _currency_raw(decimal.Decimal(value))
        elif isinstance(value, float):
            v.type = _n.DOUBLE
            v.value.real = value
        elif isinstance(value, decimal.Decimal):
            v.type = _n.CURRENCY
            v.value.currency = _currency_raw(value)
        elif isinstance(value, (datetime.date, datetime.datetime)):
            v.type = _n.DATE
            v.value.date = _date_fields(value)
        elif isinstance(value, str):
            encoded = ctypes.create_string_buffer(_encode(value))
            self._keep.append(encoded)
            v.type = _n.STRING
            v.value.text = ctypes.cast(encoded, ctypes.c_void_p)
        elif isinstance(value, Object):
            v.type = _n.OBJECT
            v.value.object = value._live()
            self._keep.append(value)
        else:
            raise TypeError(f"kvlnmov cannot pass a value of type {type(value).__name__}")
        return v

    def array(self, values):
        if not values:
            return None, 0
        array = (_n.Variant * len(values))(*[self.variant(value) for value in values])
        return array, len(values)


def _out(v):
    """The Python value of a variant the library filled; releases what the variant owns."""
    try:
        kind = v.type
        if kind == _n.EMPTY_TYPE:
            return EMPTY
        if kind == _n.NULL_TYPE:
            return None
        if kind == _n.BOOLEAN:
            return v.value.boolean != 0
        if kind == _n.BYTE:
            return v.value.byte
        if kind == _n.INTEGER:
            return v.value.integer
        if kind == _n.LONG:
            return v.value.long_value
        if kind == _n.CURRENCY:
            return decimal.Decimal(v.value.currency).scaleb(-4)
        if kind == _n.DOUBLE:
            return v.value.real
        if kind == _n.DATE:
            d = v.value.date
            if d.hour == 0 and d.minute == 0 and d.second == 0 and d.millisecond == 0:
                return datetime.date(d.year, d.month, d.day)
            return datetime.datetime(d.year, d.month, d.day, d.hour, d.minute, d.second,
                                     d.millisecond * 1000)
        if kind == _n.STRING:
            return _text(v.value.text)
        if kind == _n.OBJECT:
            handle = v.value.object
            v.value.object = None  # the wrapper takes the reference
            v.type = _n.EMPTY_TYPE
            return _wrap(handle) if handle else None
        raise Error(5, _RUNTIME_SOURCE, "Invalid procedure call or argument")
    finally:
        _n.lib.kvlnmov_variant_clear(ctypes.byref(v))


# ------------------------------------------------------------------------------------------
# The registered classes.

ParameterInfo = namedtuple("ParameterInfo", "name kind optional")
PropertyInfo = namedtuple("PropertyInfo", "name kind index_count readable writable")
MethodInfo = namedtuple("MethodInfo", "name result parameters")
ClassInfo = namedtuple("ClassInfo", "prog_id name properties methods")

_classes = None


def registered_classes():
    """Every registered class by ProgID: its properties and methods (by name), with their
    kinds as the library names them ("Currency", "Long", ...)."""
    global _classes
    if _classes is None:
        records = ctypes.POINTER(_n.ClassInfo)()
        count = ctypes.c_size_t()
        _call(_n.lib.kvlnmov_registered_classes, ctypes.byref(records), ctypes.byref(count))
        try:
            found = {}
            for i in range(count.value):
                c = records[i]
                properties = {}
                for p in (c.properties[j] for j in range(c.property_count)):
                    name = p.name.decode()
                    properties[name] = PropertyInfo(name, _n.KIND_NAMES[p.kind], p.index_count,
                                                    bool(p.readable), bool(p.writable))
                methods = {}
                for m in (c.methods[j] for j in range(c.method_count)):
                    name = m.name.decode()
                    parameters = tuple(
                        ParameterInfo(q.name.decode(), _n.KIND_NAMES[q.kind], bool(q.optional))
                        for q in (m.parameters[k] for k in range(m.parameter_count)))
                    methods[name] = MethodInfo(name, _n.KIND_NAMES[m.result], parameters)
                prog_id = c.prog_id.decode()
                found[prog_id] = ClassInfo(prog_id, c.name.decode(), properties, methods)
        finally:
            _n.lib.kvlnmov_classes_free(records, count)
        _classes = found
    return _classes


def _members(class_name):
    """The members of a class by lower-case name: ("property", info) or ("method", info)."""
    index = _member_index.get(class_name)
    if index is None:
        index = {}
        info = registered_classes().get("KVLNMOV." + class_name)
        if info is not None:
            for name, p in info.properties.items():
                index[name.lower()] = ("property", p)
            for name, m in info.methods.items():
                index.setdefault(name.lower(), ("method", m))
        _member_index[class_name] = index
    return index


_member_index = {}


# ------------------------------------------------------------------------------------------
# Objects.

class Object:
    """A library object: a business object by ProgID, or a connection, context or recordset.
    Its registered properties and operations are its attributes."""

    def __init__(self, handle):
        object.__setattr__(self, "_handle", handle)  # owned from here on: __del__ releases it
        name = ctypes.c_void_p()
        _call(_n.lib.kvlnmov_class_name, handle, ctypes.byref(name))
        object.__setattr__(self, "_class_name", _taken_text(name))

    def release(self):
        """Ends this reference now (otherwise it ends when the wrapper is collected)."""
        handle = self.__dict__.get("_handle")
        if handle:
            object.__setattr__(self, "_handle", None)
            _n.lib.kvlnmov_release(handle)

    def __del__(self):
        try:
            self.release()
        except Exception:  # the library may already be gone at interpreter exit
            pass

    @property
    def class_name(self):
        return self._class_name

    def _live(self):
        if not self._handle:
            raise Error(91, _RUNTIME_SOURCE, "Object variable or With block variable not set")
        return self._handle

    def get(self, name, *index):
        """Reads property `name` (with its index, for an indexed property)."""
        values = _In()
        array, count = values.array(index)
        result = _n.Variant()
        _call(_n.lib.kvlnmov_get, self._live(), _encode(name), array, count, ctypes.byref(result))
        return _out(result)

    def put(self, name, value, *index):
        """Writes property `name` (with its index, for an indexed property)."""
        values = _In()
        array, count = values.array(index)
        member = _members(self._class_name).get(name.lower())
        v = values.variant(value, member is not None and member[1].kind == "Object")
        _call(_n.lib.kvlnmov_put, self._live(), _encode(name), array, count, ctypes.byref(v))

    def invoke(self, name, *arguments):
        """Calls operation `name`; returns its result (None for an operation without one)."""
        values = _In()
        array, count = values.array(arguments)
        result = _n.Variant()
        _call(_n.lib.kvlnmov_invoke, self._live(), _encode(name), array, count,
              ctypes.byref(result))
        return _out(result)

    def __getattr__(self, name):
        if name.startswith("_"):
            raise AttributeError(name)
        member = _members(self._class_name).get(name.lower())
        if member is None:
            return self.get(name)  # raises the library's 438 for an unknown member
        kind, info = member
        if kind == "method":
            def call(*arguments):
                result = self.invoke(info.name, *arguments)
                return None if info.result == "Void" else result
            call.__name__ = info.name
            return call
        if info.index_count > 0:
            return _Indexed(self, info.name)
        return self.get(info.name)

    def __setattr__(self, name, value):
        if name.startswith("_"):
            object.__setattr__(self, name, value)
            return
        member = _members(self._class_name).get(name.lower())
        if member is not None and member[0] == "property" and member[1].index_count > 0:
            raise TypeError(f"{name} is indexed: assign {name}[index]")
        self.put(member[1].name if member else name, value)

    def __dir__(self):
        names = {info.name for _, info in _members(self._class_name).values()}
        return sorted(set(super().__dir__()) | names)

    def __eq__(self, other):
        if not isinstance(other, Object):
            return NotImplemented
        return bool(_n.lib.kvlnmov_same_object(self._handle, other._handle))

    def __hash__(self):
        # Wrappers of one object are equal, so the hash may depend only on what they share.
        return hash(self._class_name)

    def __repr__(self):
        return f"<kvlnmov {self._class_name}>"


class _Indexed:
    """An indexed property: ``obj.Base[0]``."""

    def __init__(self, owner, name):
        self._owner = owner
        self._name = name

    def __getitem__(self, index):
        return self._owner.get(self._name, index)

    def __setitem__(self, index, value):
        self._owner.put(self._name, value, index)


class Recordset(Object):
    """A read-only, forward-moving result. Iterating it yields the remaining rows as tuples."""

    def __init__(self, handle=None):
        if handle is None:
            made = ctypes.c_void_p()
            _call(_n.lib.kvlnmov_recordset_new, ctypes.byref(made))
            handle = made.value
        super().__init__(handle)

    @property
    def eof(self):
        flag = ctypes.c_int()
        _call(_n.lib.kvlnmov_recordset_eof, self._live(), ctypes.byref(flag))
        return bool(flag.value)

    def move_next(self):
        _call(_n.lib.kvlnmov_recordset_move_next, self._live())

    @property
    def field_count(self):
        count = ctypes.c_int32()
        _call(_n.lib.kvlnmov_recordset_field_count, self._live(), ctypes.byref(count))
        return count.value

    @property
    def fields(self):
        """The column names."""
        names = []
        for i in range(self.field_count):
            name = ctypes.c_void_p()
            _call(_n.lib.kvlnmov_recordset_field_name, self._live(), i, ctypes.byref(name))
            names.append(_taken_text(name))
        return names

    def field(self, which):
        """The value of a column of the current row, by position (from 0) or name."""
        value = _n.Variant()
        if isinstance(which, int):
            _call(_n.lib.kvlnmov_recordset_field, self._live(), which, ctypes.byref(value))
        else:
            _call(_n.lib.kvlnmov_recordset_field_by_name, self._live(), _encode(which),
                  ctypes.byref(value))
        return _out(value)

    def __getitem__(self, which):
        return self.field(which)

    def __iter__(self):
        count = self.field_count
        while not self.eof:
            yield tuple(self.field(i) for i in range(count))
            self.move_next()


class Connection(Object):
    """An open database connection."""

    def execute(self, statement):
        """Runs one statement; returns the rows it changed (-1 for a query)."""
        rows = ctypes.c_int32()
        _call(_n.lib.kvlnmov_execute, self._live(), _encode(statement), ctypes.byref(rows))
        return rows.value

    def recordset(self, query):
        """Opens a recordset on a query."""
        made = ctypes.c_void_p()
        _call(_n.lib.kvlnmov_query, self._live(), _encode(query), ctypes.byref(made))
        return Recordset(made.value)

    def query(self, query):
        """Every row of a query, as a list of tuples."""
        rows = self.recordset(query)
        try:
            return list(rows)
        finally:
            rows.release()

    def seed_company(self, company=1, exercise=2026, name=None, first_day=None, last_day=None,
                     levels=None, numbering=0, tax=0, open=True):
        """Creates the company schema in this empty database and writes the company and its
        exercise (by default the calendar year `exercise`, levels "1,2,3,4,8")."""
        seed = _n.CompanySeed()
        _n.lib.kvlnmov_company_seed_init(ctypes.byref(seed))
        seed.company = company
        seed.exercise = exercise
        if name is not None:
            seed.name = _encode(name)
        seed.first_day = _date_fields(first_day or datetime.date(exercise, 1, 1))
        seed.last_day = _date_fields(last_day or datetime.date(exercise, 12, 31))
        if levels is not None:
            seed.levels = _encode(levels)
        seed.numbering = numbering
        seed.tax = tax
        seed.open = 1 if open else 0
        _call(_n.lib.kvlnmov_seed_company, self._live(), ctypes.byref(seed))


class Context(Object):
    """The company/exercise objects are bound to (their ``cEmpresa``).

    ``Context(conn, company, exercise)`` reads it from the company database;
    ``Context.settable(...)`` makes one whose values the caller gives. Named values
    ("UsuarioActual", ...) are read and set with brackets: ``ctx["UsuarioActual"] = 7``.
    """

    def __init__(self, connection=None, company=None, exercise=None, *, handle=None):
        if handle is None:
            if not isinstance(connection, Connection):
                raise TypeError("Context needs a kvlnmov connection")
            made = ctypes.c_void_p()
            _call(_n.lib.kvlnmov_context_open, connection._live(), company, exercise,
                  ctypes.byref(made))
            handle = made.value
        super().__init__(handle)

    @classmethod
    def settable(cls, company, exercise, first_day, last_day, levels=(1, 2, 3, 4, 8),
                 numbering=0, tax=0, values=None):
        settings = _n.ContextSettings()
        settings.company = company
        settings.exercise = exercise
        settings.first_day = _date_fields(first_day)
        settings.last_day = _date_fields(last_day)
        lengths = (ctypes.c_int16 * len(levels))(*levels)
        settings.level_lengths = lengths
        settings.level_count = len(levels)
        settings.numbering = numbering
        settings.tax = tax
        made = ctypes.c_void_p()
        _call(_n.lib.kvlnmov_context_new, ctypes.byref(settings), ctypes.byref(made))
        context = cls(handle=made.value)
        for name, value in (values or {}).items():
            context[name] = value
        return context

    def __setitem__(self, name, value):
        values = _In()
        v = values.variant(value)
        _call(_n.lib.kvlnmov_context_set_value, self._live(), _encode(name), ctypes.byref(v))

    def __getitem__(self, name):
        result = _n.Variant()
        _call(_n.lib.kvlnmov_context_value, self._live(), _encode(name), ctypes.byref(result))
        return _out(result)


_WRAPPERS = {"Connection": Connection, "Recordset": Recordset, "cEmpresa": Context}


def _wrap(handle):
    name = ctypes.c_void_p()
    _call(_n.lib.kvlnmov_class_name, handle, ctypes.byref(name))
    wrapper = _WRAPPERS.get(_taken_text(name), Object)
    if wrapper is Context:
        return Context(handle=handle)
    return wrapper(handle)


def connect(connection_string):
    """Opens a connection: "Provider=SQLite;Data Source=<file>" or an ODBC connection string."""
    made = ctypes.c_void_p()
    _call(_n.lib.kvlnmov_connect, _encode(connection_string), ctypes.byref(made))
    return Connection(made.value)


def create(prog_id):
    """Creates an object by ProgID ("KVLNMOV.clsMov")."""
    made = ctypes.c_void_p()
    _call(_n.lib.kvlnmov_create, _encode(prog_id), ctypes.byref(made))
    return Object(made.value)


def reset():
    """Forgets the library-wide state (the shared connection): before using another database."""
    _n.lib.kvlnmov_reset()


_user_interface = None  # the installed callbacks, kept alive while the library may call them


def set_user_interface(message_box=None, yield_=None):
    """Installs the application's user interface: ``message_box(text, icon, buttons, title)``
    shows a message and returns the button chosen (1 OK, 2 Cancel, 3 Abort, 4 Retry, 5 Ignore,
    6 Yes, 7 No; None or 0 takes the first button); ``yield_()`` runs while an operation waits
    between retries. Icons and buttons are numbered as kvlnmov.h numbers them. Both None restore
    the default (standard error, first button). A callback that raises takes the first button.
    ``reset()`` forgets the interface too."""
    global _user_interface

    def box(_, text, icon, buttons, title):
        try:
            return int(message_box(text.decode("utf-8"), icon, buttons,
                                   title.decode("utf-8")) or 0)
        except Exception:  # an exception cannot cross into the library
            return 0

    def pause(_):
        try:
            yield_()
        except Exception:
            pass

    callbacks = (_n.MESSAGE_BOX(box) if message_box else _n.MESSAGE_BOX(),
                 _n.YIELD(pause) if yield_ else _n.YIELD())
    _call(_n.lib.kvlnmov_set_user_interface, callbacks[0], callbacks[1], None)
    _user_interface = callbacks if (message_box or yield_) else None


def version():
    return _n.lib.kvlnmov_version().decode()
