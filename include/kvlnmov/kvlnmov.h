#ifndef KVLNMOV_KVLNMOV_H
#define KVLNMOV_KVLNMOV_H

/*
 * The C interface of kvlnmov: late binding from C (C99 or later) and from any language with
 * a C foreign-function interface. Objects are created by ProgID ("KVLNMOV.clsMov"), and their
 * properties and operations are reached by name with variant values, exactly as the C++
 * registry (kvlnmov/registration/registry.h) reaches them.
 *
 * Handles. Every connection, context, business object and recordset is a `kvlnmov_object*`,
 * an opaque counted reference to a library object. Each handle the library gives out is a new
 * reference that the caller ends with `kvlnmov_release`; the object itself ends when its last
 * reference goes (a context held by an object stays alive while that object holds it).
 * Functions that need a particular kind of object (a connection, a context, a recordset)
 * refuse another with error 13 "Type mismatch", and a NULL handle with 91 "Object variable or
 * With block variable not set" (source "KVLNMOV").
 *
 * Errors. Every function that can fail returns `kvlnmov_status`: KVLNMOV_OK (0) or
 * KVLNMOV_FAILED (1), and takes a `kvlnmov_error* error` last (NULL when the caller does not
 * want the details). On failure the error receives the number, source, description and
 * native error exactly as the library's C++ `kvlnmov::Error` carries them; on success it is
 * reset to number 0 with NULL texts. A non-NULL error must be zero-initialised
 * (KVLNMOV_ERROR_INIT) before its first use; each call releases what it held before, and
 * `kvlnmov_error_clear` releases it at the end. Failures that are not library errors are
 * reported too: out of memory as 7 "Out of memory", anything else as -2147467259 with the
 * reason as description (source "KVLNMOV" for both). No C++ exception crosses this interface.
 * A failing call leaves its output handles NULL and its output variants Empty. A NULL where a
 * text, an output or a record is required fails with 5 "Invalid procedure call or argument".
 *
 * Texts are UTF-8 and end with a NUL byte. Every text the library returns is a new copy that
 * belongs to the caller: free a lone text with `kvlnmov_free`; texts inside a variant, an error
 * or the class listing are freed by `kvlnmov_variant_clear`, `kvlnmov_error_clear` and
 * `kvlnmov_classes_free`. The one exception is `kvlnmov_version()`, a constant.
 *
 * Variants passed in (arguments, property values, indexes) are read and copied; the caller
 * keeps them. A variant filled by the library owns its text or object reference: release it
 * with `kvlnmov_variant_clear` (the library writes a result without releasing what the
 * variant held before, so clear a variant before it is filled again).
 *
 * Threads. The library keeps process-wide state without locks: the connection all objects
 * share (the first one given to any object through `Conexion`, or the one an entry header is
 * bound to), the regional settings and the user-interface hooks. So calls into the library
 * must not run at the same time: call it from one thread, or serialise the calls. Handles
 * may move between threads between calls.
 *
 * Message boxes an operation shows are written to standard error and answered with their
 * first button, unless the application installs its own (`kvlnmov_set_user_interface`).
 */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define KVLNMOV_API __attribute__((visibility("default")))
#else
#define KVLNMOV_API
#endif

/* ---------------------------------------------------------------------------------------- */
/* Status and errors */

typedef int32_t kvlnmov_status;
#define KVLNMOV_OK 0
#define KVLNMOV_FAILED 1

typedef struct kvlnmov_error {
    int32_t number;       /* the error number: 429, 438, 1000, -2147217900, ... */
    int32_t native_error; /* the database's own code for provider errors, else 0 */
    char* source;         /* "KVLNMOV", "clsMov:Insertar", "kvlnmov SQLite provider", ... */
    char* description;
} kvlnmov_error;

#define KVLNMOV_ERROR_INIT \
    { 0, 0, NULL, NULL }

/* Releases the texts of an error and resets it to number 0 (safe on a zeroed error). */
KVLNMOV_API void kvlnmov_error_clear(kvlnmov_error* error);

/* Frees a text returned by the library (NULL is ignored). */
KVLNMOV_API void kvlnmov_free(void* text);

/* The library's version, "1.0.0": a constant text, not to be freed. */
KVLNMOV_API const char* kvlnmov_version(void);

/* Forgets the library-wide state: the connection every object shares, the formatting object
 * and the user interface. What unloading and loading the library again would do; call it
 * before working on another database in the same process (the first connection given to an
 * object stays the shared one until then). Objects already made keep their own references. */
KVLNMOV_API void kvlnmov_reset(void);

/* The application's user interface. `message_box` shows a modal message and returns the
 * button chosen: 1 OK, 2 Cancel, 3 Abort, 4 Retry, 5 Ignore, 6 Yes, 7 No (0, or a button the
 * box does not have, takes the first button). `icon` is 0 (none), 16 (critical), 32 (question),
 * 48 (exclamation) or 64 (information); `buttons` 0 OK, 1 OK/Cancel, 2 Abort/Retry/Ignore,
 * 3 Yes/No/Cancel, 4 Yes/No, 5 Retry/Cancel. `yield` runs while an operation waits between
 * retries of a failing statement, so that the application can process its events. Either may
 * be NULL (a NULL message box writes to standard error and takes the first button); both NULL
 * restore the default. Callbacks run on the calling thread, inside the call that shows the box,
 * and must return normally (no longjmp, no exception); they must not call into the library.
 * The user interface is library-wide state: `kvlnmov_reset` forgets it. */
typedef int32_t (*kvlnmov_message_box_fn)(void* user_data, const char* text, int32_t icon,
                                          int32_t buttons, const char* title);
typedef void (*kvlnmov_yield_fn)(void* user_data);
KVLNMOV_API kvlnmov_status kvlnmov_set_user_interface(kvlnmov_message_box_fn message_box,
                                                      kvlnmov_yield_fn yield, void* user_data,
                                                      kvlnmov_error* error);

/* ---------------------------------------------------------------------------------------- */
/* Values */

/* Variant types and declared kinds, numbered as the language numbers its value types. */
typedef enum kvlnmov_type {
    KVLNMOV_EMPTY = 0,
    KVLNMOV_NULL = 1,
    KVLNMOV_INTEGER = 2, /* signed 16-bit */
    KVLNMOV_LONG = 3,    /* signed 32-bit */
    KVLNMOV_DOUBLE = 5,
    KVLNMOV_CURRENCY = 6, /* exact: a signed 64-bit count of ten-thousandths */
    KVLNMOV_DATE = 7,
    KVLNMOV_STRING = 8,
    KVLNMOV_OBJECT = 9,
    KVLNMOV_BOOLEAN = 11,
    KVLNMOV_VARIANT = 12, /* declared kind only: any value */
    KVLNMOV_BYTE = 17,    /* unsigned 8-bit */
    KVLNMOV_VOID = 24     /* declared kind only: an operation without result */
} kvlnmov_type;

/* A day with its time of day. A plain date has every time field 0. Valid from 1 January 100
 * to 31 December 9999; an invalid day or time is refused with error 5. */
typedef struct kvlnmov_date {
    int32_t year, month, day;
    int32_t hour, minute, second, millisecond;
} kvlnmov_date;

typedef struct kvlnmov_object kvlnmov_object;

typedef struct kvlnmov_variant {
    int32_t type; /* a kvlnmov_type other than KVLNMOV_VARIANT and KVLNMOV_VOID */
    union {
        int32_t boolean;        /* KVLNMOV_BOOLEAN: 0 is False; the library writes True as 1 */
        uint8_t byte;           /* KVLNMOV_BYTE */
        int16_t integer;        /* KVLNMOV_INTEGER */
        int32_t long_value;     /* KVLNMOV_LONG */
        int64_t currency;       /* KVLNMOV_CURRENCY: ten-thousandths, 12345 is 1.2345 */
        double real;            /* KVLNMOV_DOUBLE */
        kvlnmov_date date;      /* KVLNMOV_DATE */
        const char* text;       /* KVLNMOV_STRING (UTF-8) */
        kvlnmov_object* object; /* KVLNMOV_OBJECT; NULL is the reference set to Nothing */
    } value;
} kvlnmov_variant;

/* Releases what a variant filled by the library owns (its text or object reference) and
 * makes it Empty. Only for variants the library filled. */
KVLNMOV_API void kvlnmov_variant_clear(kvlnmov_variant* value);

/* Constructors for variants passed in (they borrow the text or the object). */
KVLNMOV_API kvlnmov_variant kvlnmov_empty(void);
KVLNMOV_API kvlnmov_variant kvlnmov_null(void);
KVLNMOV_API kvlnmov_variant kvlnmov_boolean(int value);
KVLNMOV_API kvlnmov_variant kvlnmov_byte(uint8_t value);
KVLNMOV_API kvlnmov_variant kvlnmov_integer(int16_t value);
KVLNMOV_API kvlnmov_variant kvlnmov_long(int32_t value);
KVLNMOV_API kvlnmov_variant kvlnmov_currency(int64_t ten_thousandths);
KVLNMOV_API kvlnmov_variant kvlnmov_double(double value);
KVLNMOV_API kvlnmov_variant kvlnmov_date_value(int32_t year, int32_t month, int32_t day);
KVLNMOV_API kvlnmov_variant kvlnmov_date_time(int32_t year, int32_t month, int32_t day,
                                              int32_t hour, int32_t minute, int32_t second);
KVLNMOV_API kvlnmov_variant kvlnmov_text(const char* utf8);
KVLNMOV_API kvlnmov_variant kvlnmov_object_value(kvlnmov_object* object);

/* The date as the library counts days: `serial` days since 30 December 1899 (1 January 1900
 * is 2) and the milliseconds since midnight. Both refuse an invalid date with error 5 (or 6
 * out of range). */
KVLNMOV_API kvlnmov_status kvlnmov_date_to_serial(const kvlnmov_date* date, int32_t* serial,
                                                  int32_t* millisecond_of_day,
                                                  kvlnmov_error* error);
KVLNMOV_API kvlnmov_status kvlnmov_date_from_serial(int32_t serial, int32_t millisecond_of_day,
                                                    kvlnmov_date* date, kvlnmov_error* error);

/* ---------------------------------------------------------------------------------------- */
/* Objects */

/* Ends one reference (NULL is ignored). */
KVLNMOV_API void kvlnmov_release(kvlnmov_object* object);
/* A new reference to the same object (NULL for NULL, or when memory is out). */
KVLNMOV_API kvlnmov_object* kvlnmov_retain(kvlnmov_object* object);
/* True (1) when both handles reach the same object. */
KVLNMOV_API int kvlnmov_same_object(const kvlnmov_object* a, const kvlnmov_object* b);
/* The class name as the application knows it: "clsMov", "Connection", "Recordset",
 * "cEmpresa". */
KVLNMOV_API kvlnmov_status kvlnmov_class_name(kvlnmov_object* object, char** name,
                                              kvlnmov_error* error);

/* Creates an object by ProgID ("KVLNMOV.clsMov", any case). An unknown ProgID fails with 429
 * "ActiveX component can't create object". */
KVLNMOV_API kvlnmov_status kvlnmov_create(const char* prog_id, kvlnmov_object** object,
                                          kvlnmov_error* error);

/* Reads property `name` with `index_count` index values (1 for an indexed property such as
 * clsLibroIgic.Base, else 0) into `result`. Unknown members fail with 438, a write-only
 * property with 451, a wrong number of indexes with 450. An operation without arguments can
 * be read as a property. */
KVLNMOV_API kvlnmov_status kvlnmov_get(kvlnmov_object* object, const char* name,
                                       const kvlnmov_variant* index, size_t index_count,
                                       kvlnmov_variant* result, kvlnmov_error* error);
/* Writes property `name`; the value is converted by the property's declared kind (13 when it
 * cannot be). A read-only property fails with 383. Connections and contexts are passed as
 * object values: `Conexion` and `cEmpresa`. */
KVLNMOV_API kvlnmov_status kvlnmov_put(kvlnmov_object* object, const char* name,
                                       const kvlnmov_variant* index, size_t index_count,
                                       const kvlnmov_variant* value, kvlnmov_error* error);
/* Calls operation `name` with `count` arguments; `result` (may be NULL) receives its result
 * (Empty for an operation without one). Too many arguments fail with 450, a missing required
 * one with 449; an Empty argument leaves an optional parameter out. */
KVLNMOV_API kvlnmov_status kvlnmov_invoke(kvlnmov_object* object, const char* name,
                                          const kvlnmov_variant* arguments, size_t count,
                                          kvlnmov_variant* result, kvlnmov_error* error);

/* ---------------------------------------------------------------------------------------- */
/* Connections */

/* Opens a connection: "Provider=SQLite;Data Source=<file>" (the embedded provider; a missing
 * file is created empty) or an ODBC connection string (see the library's README). */
KVLNMOV_API kvlnmov_status kvlnmov_connect(const char* connection_string,
                                           kvlnmov_object** connection, kvlnmov_error* error);
/* Runs one statement (T-SQL); `rows_affected` (may be NULL) receives the changed rows, -1 for
 * a query. */
KVLNMOV_API kvlnmov_status kvlnmov_execute(kvlnmov_object* connection, const char* statement,
                                           int32_t* rows_affected, kvlnmov_error* error);
/* Opens a read-only recordset on a query. */
KVLNMOV_API kvlnmov_status kvlnmov_query(kvlnmov_object* connection, const char* query,
                                         kvlnmov_object** recordset, kvlnmov_error* error);

/* A new company database: what `kvlnmov_seed_company` writes. */
typedef struct kvlnmov_company_seed {
    int16_t company;
    int16_t exercise;
    const char* name;       /* the company's name */
    kvlnmov_date first_day; /* of the exercise */
    kvlnmov_date last_day;
    const char* levels; /* the chart's level lengths, "1,2,3,4,8" */
    int16_t numbering;  /* entry numbering scheme: 0, 1 or 2 */
    int16_t tax;        /* indirect-tax kind: 1 keeps the IGIC book */
    int32_t open;       /* nonzero: the exercise is open */
} kvlnmov_company_seed;

/* The defaults: company 1, exercise 2026 from 1 January to 31 December 2026, "Empresa de
 * pruebas", levels "1,2,3,4,8", numbering 0, tax 0, open. */
KVLNMOV_API void kvlnmov_company_seed_init(kvlnmov_company_seed* seed);
/* Creates the company schema in an empty database and writes the company and its exercise. */
KVLNMOV_API kvlnmov_status kvlnmov_seed_company(kvlnmov_object* connection,
                                                const kvlnmov_company_seed* seed,
                                                kvlnmov_error* error);

/* ---------------------------------------------------------------------------------------- */
/* Contexts (the company/exercise every business object is bound to through `cEmpresa`) */

/* A context read from the company database. Fails with 1000 (source "EmpresaContext") when the
 * company or the exercise does not exist. */
KVLNMOV_API kvlnmov_status kvlnmov_context_open(kvlnmov_object* connection, int16_t company,
                                                int16_t exercise, kvlnmov_object** context,
                                                kvlnmov_error* error);

/* A context whose values the caller sets. */
typedef struct kvlnmov_context_settings {
    int16_t company;
    int16_t exercise;
    kvlnmov_date first_day;
    kvlnmov_date last_day;
    const int16_t* level_lengths; /* from the first summary level to the full account */
    size_t level_count;           /* 0 keeps the default 1, 2, 3, 4, 8 */
    int16_t numbering;
    int16_t tax;
} kvlnmov_context_settings;

KVLNMOV_API kvlnmov_status kvlnmov_context_new(const kvlnmov_context_settings* settings,
                                               kvlnmov_object** context, kvlnmov_error* error);
/* Sets a named value of either kind of context ("UsuarioActual", "ODBCNombre", ...). */
KVLNMOV_API kvlnmov_status kvlnmov_context_set_value(kvlnmov_object* context, const char* name,
                                                     const kvlnmov_variant* value,
                                                     kvlnmov_error* error);
/* Reads a named value of a context (Empty for a name never set). */
KVLNMOV_API kvlnmov_status kvlnmov_context_value(kvlnmov_object* context, const char* name,
                                                 kvlnmov_variant* value, kvlnmov_error* error);

/* ---------------------------------------------------------------------------------------- */
/* Recordsets (from `kvlnmov_query` or returned by an operation as an object value) */

/* A recordset not yet open, for operations that open the recordset they are given
 * (clsMovAut.Cargar). */
KVLNMOV_API kvlnmov_status kvlnmov_recordset_new(kvlnmov_object** recordset, kvlnmov_error* error);
/* `eof` receives 1 when there is no current row. */
KVLNMOV_API kvlnmov_status kvlnmov_recordset_eof(kvlnmov_object* recordset, int* eof,
                                                 kvlnmov_error* error);
KVLNMOV_API kvlnmov_status kvlnmov_recordset_move_next(kvlnmov_object* recordset,
                                                       kvlnmov_error* error);
KVLNMOV_API kvlnmov_status kvlnmov_recordset_field_count(kvlnmov_object* recordset, int32_t* count,
                                                         kvlnmov_error* error);
/* The name of column `index` (from 0); an index out of range fails with 3265. */
KVLNMOV_API kvlnmov_status kvlnmov_recordset_field_name(kvlnmov_object* recordset, int32_t index,
                                                        char** name, kvlnmov_error* error);
/* The value of a column of the current row, by position (from 0) or by name (any case). At
 * the end this fails with 3021, an unknown name or position with 3265, and a closed recordset
 * with 3704 (source "ADODB.Recordset"). */
KVLNMOV_API kvlnmov_status kvlnmov_recordset_field(kvlnmov_object* recordset, int32_t index,
                                                   kvlnmov_variant* value, kvlnmov_error* error);
KVLNMOV_API kvlnmov_status kvlnmov_recordset_field_by_name(kvlnmov_object* recordset,
                                                           const char* name, kvlnmov_variant* value,
                                                           kvlnmov_error* error);

/* ---------------------------------------------------------------------------------------- */
/* Registered classes (what late binding can reach) */

typedef struct kvlnmov_parameter_info {
    char* name;
    int32_t kind;     /* a kvlnmov_type */
    int32_t optional; /* 1 when it may be left out */
} kvlnmov_parameter_info;

typedef struct kvlnmov_property_info {
    char* name;
    int32_t kind;        /* a kvlnmov_type */
    int32_t index_count; /* 0, or 1 for an indexed property */
    int32_t readable;    /* 1 when it can be read */
    int32_t writable;    /* 1 when it can be written */
} kvlnmov_property_info;

typedef struct kvlnmov_method_info {
    char* name;
    int32_t result; /* a kvlnmov_type; KVLNMOV_VOID for none */
    size_t parameter_count;
    kvlnmov_parameter_info* parameters;
} kvlnmov_method_info;

typedef struct kvlnmov_class_info {
    char* prog_id; /* "KVLNMOV.clsMov" */
    char* name;    /* "clsMov" */
    size_t property_count;
    kvlnmov_property_info* properties; /* in name order, without regard to case */
    size_t method_count;
    kvlnmov_method_info* methods; /* in name order, without regard to case */
} kvlnmov_class_info;

/* Every registered class with its members, in ProgID order; free with kvlnmov_classes_free. */
KVLNMOV_API kvlnmov_status kvlnmov_registered_classes(kvlnmov_class_info** classes, size_t* count,
                                                      kvlnmov_error* error);
KVLNMOV_API void kvlnmov_classes_free(kvlnmov_class_info* classes, size_t count);

#ifdef __cplusplus
}
#endif

#endif /* KVLNMOV_KVLNMOV_H */
