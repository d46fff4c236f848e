/* The C interface driven from C: errors as the library raises them, every variant type both
 * ways, an entry with lines posted by late binding and its balances read back, recordsets,
 * the listing of the registered classes. Every handle is released, so the program is clean
 * under AddressSanitizer's leak check. Exits 0 when every check passes, 1 otherwise, and 77
 * (skipped) for a provider it cannot use. */

#define _DEFAULT_SOURCE
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "kvlnmov/kvlnmov.h"

static int failures = 0;
static int checks = 0;

#define CHECK(condition)                                                                  \
    do {                                                                                  \
        ++checks;                                                                         \
        if (!(condition)) {                                                               \
            ++failures;                                                                   \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
        }                                                                                 \
    } while (0)

#define CHECK_INT(actual, expected)                                                                \
    do {                                                                                           \
        long long a_ = (long long)(actual), e_ = (long long)(expected);                            \
        ++checks;                                                                                  \
        if (a_ != e_) {                                                                            \
            ++failures;                                                                            \
            fprintf(stderr, "%s:%d: %s is %lld, expected %lld\n", __FILE__, __LINE__, #actual, a_, \
                    e_);                                                                           \
        }                                                                                          \
    } while (0)

#define CHECK_TEXT(actual, expected)                                                               \
    do {                                                                                           \
        const char* a_ = (actual);                                                                 \
        const char* e_ = (expected);                                                               \
        ++checks;                                                                                  \
        if (!a_ || strcmp(a_, e_) != 0) {                                                          \
            ++failures;                                                                            \
            fprintf(stderr, "%s:%d: %s is \"%s\", expected \"%s\"\n", __FILE__, __LINE__, #actual, \
                    a_ ? a_ : "(null)", e_);                                                       \
        }                                                                                          \
    } while (0)

/* A call expected to succeed: on failure the error is printed and the run stops, since what
 * follows depends on it. */
#define MUST(call)                                                                      \
    do {                                                                                \
        kvlnmov_error e_ = KVLNMOV_ERROR_INIT;                                          \
        ++checks;                                                                       \
        if ((call) != KVLNMOV_OK) {                                                     \
            fprintf(stderr, "%s:%d: %s failed: %d %s: %s\n", __FILE__, __LINE__, #call, \
                    (int)e_.number, e_.source ? e_.source : "",                         \
                    e_.description ? e_.description : "");                              \
            exit(1);                                                                    \
        }                                                                               \
        kvlnmov_error_clear(&e_);                                                       \
    } while (0)

/* Checks a failed call's error and clears it. */
static void expect_error(int line, kvlnmov_status status, kvlnmov_error* error, int32_t number,
                         const char* source, const char* description) {
    ++checks;
    if (status != KVLNMOV_FAILED || error->number != number || !error->source ||
        strcmp(error->source, source) != 0 || !error->description ||
        strcmp(error->description, description) != 0) {
        ++failures;
        fprintf(stderr,
                "capi_test.c:%d: expected error %d \"%s\" \"%s\", got status %d error %d \"%s\" "
                "\"%s\"\n",
                line, (int)number, source, description, (int)status, (int)error->number,
                error->source ? error->source : "(null)",
                error->description ? error->description : "(null)");
    }
    kvlnmov_error_clear(error);
}
#define EXPECT_ERROR(call, number, source, description)                      \
    do {                                                                     \
        kvlnmov_error err_ = KVLNMOV_ERROR_INIT;                             \
        kvlnmov_status status_ = (call);                                     \
        expect_error(__LINE__, status_, &err_, number, source, description); \
    } while (0)
/* `call` names `err_` as its error argument in EXPECT_ERROR. */

static char folder[256];
static char provider_source[64];
static int odbc = 0;

/* The connection string of a file in the test's folder, for the provider under test. */
static void connection_string(char* out, size_t size, const char* file) {
    if (odbc) {
        const char* driver = getenv("KVLNMOV_TEST_ODBC_DRIVER");
        snprintf(out, size, "Driver=%s;Database=%s/%s;Dialect=SQLite",
                 driver && *driver ? driver : "SQLite3", folder, file);
    } else {
        snprintf(out, size, "Provider=SQLite;Data Source=%s/%s", folder, file);
    }
}

static kvlnmov_object* open_company(const char* file) {
    char text[512];
    kvlnmov_object* connection = NULL;
    kvlnmov_company_seed seed;
    connection_string(text, sizeof text, file);
    MUST(kvlnmov_connect(text, &connection, &e_));
    kvlnmov_company_seed_init(&seed);
    seed.name = "Comercial Atl\xc3\xa1ntica S.L.";
    MUST(kvlnmov_seed_company(connection, &seed, &e_));
    return connection;
}

static void put(kvlnmov_object* object, const char* name, kvlnmov_variant value) {
    MUST(kvlnmov_put(object, name, NULL, 0, &value, &e_));
}

static void set_object(kvlnmov_object* object, const char* name, kvlnmov_object* value) {
    put(object, name, kvlnmov_object_value(value));
}

/* ------------------------------------------------------------------------------------------ */

static void test_version(void) { CHECK_TEXT(kvlnmov_version(), KVLNMOV_EXPECTED_VERSION); }

static void test_errors_cross_intact(void) {
    kvlnmov_object* object = (kvlnmov_object*)0x1;
    kvlnmov_object* line = NULL;
    kvlnmov_object* connection = NULL;
    kvlnmov_variant value = kvlnmov_empty();
    kvlnmov_error error = KVLNMOV_ERROR_INIT;
    char text[512];

    EXPECT_ERROR(kvlnmov_create("KVLNMOV.clsNoExiste", &object, &err_), 429, "KVLNMOV",
                 "ActiveX component can't create object");
    CHECK(object == NULL);

    MUST(kvlnmov_create("kvlnmov.CLSMOV", &line, &e_));
    EXPECT_ERROR(kvlnmov_get(line, "NoExiste", NULL, 0, &value, &err_), 438, "KVLNMOV",
                 "Object doesn't support this property or method");
    CHECK_INT(value.type, KVLNMOV_EMPTY);
    {
        kvlnmov_variant one = kvlnmov_long(1);
        EXPECT_ERROR(kvlnmov_put(line, "NoExiste", NULL, 0, &one, &err_), 438, "KVLNMOV",
                     "Object doesn't support this property or method");
        EXPECT_ERROR(kvlnmov_invoke(line, "NoExiste", &one, 1, NULL, &err_), 438, "KVLNMOV",
                     "Object doesn't support this property or method");
        /* Too many arguments, a missing one, a value of the wrong kind. */
        EXPECT_ERROR(kvlnmov_invoke(line, "Insertar", &one, 1, NULL, &err_), 450, "KVLNMOV",
                     "Wrong number of arguments or invalid property assignment");
        EXPECT_ERROR(kvlnmov_invoke(line, "EliminarSec", NULL, 0, NULL, &err_), 449, "KVLNMOV",
                     "Argument not optional");
    }
    {
        kvlnmov_variant words = kvlnmov_text("cuarenta");
        EXPECT_ERROR(kvlnmov_put(line, "Asiento", NULL, 0, &words, &err_), 13, "KVLNMOV",
                     "Type mismatch");
    }
    EXPECT_ERROR(kvlnmov_get(line, "Conexion", NULL, 0, &value, &err_), 451, "KVLNMOV",
                 "Property let procedure not defined and property get procedure did not return "
                 "an object");
    /* A business object is not a connection; a null handle is no object. */
    EXPECT_ERROR(kvlnmov_execute(line, "SELECT 1", NULL, &err_), 13, "KVLNMOV", "Type mismatch");
    EXPECT_ERROR(kvlnmov_get(NULL, "Cuenta", NULL, 0, &value, &err_), 91, "KVLNMOV",
                 "Object variable or With block variable not set");
    /* An operation on an object bound to nothing: the library's own error, with its source. */
    EXPECT_ERROR(kvlnmov_invoke(line, "Insertar", NULL, 0, NULL, &err_), 91, "clsMov::Insertar",
                 "Object variable or With block variable not set");

    /* Provider errors keep the provider's number, source and text. */
    connection = open_company("errors.db");
    EXPECT_ERROR(kvlnmov_execute(connection, "SELEC Codigo FROM Asientos", NULL, &err_),
                 -2147217900, provider_source, "Incorrect syntax near 'SELEC'.");
    EXPECT_ERROR(kvlnmov_execute(connection, "SELECT * FROM NoExiste", NULL, &err_), -2147217865,
                 provider_source, "Invalid object name 'NoExiste'.");
    EXPECT_ERROR(kvlnmov_context_open(connection, 9, 2026, &object, &err_), 1000, "EmpresaContext",
                 "No existe la empresa 9");

    /* A success resets an error that held a failure. */
    CHECK_INT(kvlnmov_create("KVLNMOV.clsNada", &object, &error), KVLNMOV_FAILED);
    CHECK_INT(error.number, 429);
    CHECK_INT(kvlnmov_execute(connection, "DELETE FROM Conceptos", NULL, &error), KVLNMOV_OK);
    CHECK_INT(error.number, 0);
    CHECK(error.source == NULL && error.description == NULL);

    /* Arguments the interface cannot take, and a connection string no provider takes. */
    EXPECT_ERROR(kvlnmov_create(NULL, &object, &err_), 5, "KVLNMOV",
                 "Invalid procedure call or argument");
    CHECK(object == NULL);
    EXPECT_ERROR(kvlnmov_connect("Provider=SQLite", &object, &err_), -2147467259,
                 "ADODB.Connection", "The connection string names no Data Source.");
    EXPECT_ERROR(kvlnmov_query(connection, "SELECT 1", NULL, &err_), 5, "KVLNMOV",
                 "Invalid procedure call or argument");

    /* A database that cannot be opened. */
    snprintf(text, sizeof text, "Provider=SQLite;Data Source=%s/missing.db;Mode=Read", folder);
    CHECK_INT(kvlnmov_connect(text, &object, &error), KVLNMOV_FAILED);
    CHECK(object == NULL);
    CHECK_TEXT(error.source, "kvlnmov SQLite provider");
    kvlnmov_error_clear(&error);

    kvlnmov_release(line);
    kvlnmov_release(connection);
    kvlnmov_reset();
}

/* Stores `in` as a context's named value and reads it back: the value crosses the interface
 * both ways without conversion. */
static kvlnmov_variant round_trip(kvlnmov_object* context, kvlnmov_variant in) {
    kvlnmov_variant out = kvlnmov_empty();
    MUST(kvlnmov_context_set_value(context, "Valor", &in, &e_));
    MUST(kvlnmov_context_value(context, "Valor", &out, &e_));
    return out;
}

static void test_every_variant_type_round_trips(void) {
    kvlnmov_context_settings settings;
    kvlnmov_object* context = NULL;
    kvlnmov_object* other = NULL;
    kvlnmov_variant out;
    const int16_t levels[] = {1, 3, 6};
    char* name = NULL;

    memset(&settings, 0, sizeof settings);
    settings.company = 3;
    settings.exercise = 2026;
    settings.first_day = kvlnmov_date_value(2026, 1, 1).value.date;
    settings.last_day = kvlnmov_date_value(2026, 12, 31).value.date;
    settings.level_lengths = levels;
    settings.level_count = 3;
    MUST(kvlnmov_context_new(&settings, &context, &e_));
    MUST(kvlnmov_class_name(context, &name, &e_));
    CHECK_TEXT(name, "cEmpresa");
    kvlnmov_free(name);

    out = round_trip(context, kvlnmov_empty());
    CHECK_INT(out.type, KVLNMOV_EMPTY);
    out = round_trip(context, kvlnmov_null());
    CHECK_INT(out.type, KVLNMOV_NULL);
    out = round_trip(context, kvlnmov_boolean(-1));
    CHECK_INT(out.type, KVLNMOV_BOOLEAN);
    CHECK_INT(out.value.boolean, 1);
    out = round_trip(context, kvlnmov_boolean(0));
    CHECK_INT(out.value.boolean, 0);
    out = round_trip(context, kvlnmov_byte(255));
    CHECK_INT(out.type, KVLNMOV_BYTE);
    CHECK_INT(out.value.byte, 255);
    out = round_trip(context, kvlnmov_integer(-32768));
    CHECK_INT(out.type, KVLNMOV_INTEGER);
    CHECK_INT(out.value.integer, -32768);
    out = round_trip(context, kvlnmov_long(2147483647));
    CHECK_INT(out.type, KVLNMOV_LONG);
    CHECK_INT(out.value.long_value, 2147483647);
    out = round_trip(context, kvlnmov_currency(INT64_MIN));
    CHECK_INT(out.type, KVLNMOV_CURRENCY);
    CHECK(out.value.currency == INT64_MIN);
    out = round_trip(context, kvlnmov_currency(INT64_C(922337203685477)));
    CHECK(out.value.currency == INT64_C(922337203685477));
    out = round_trip(context, kvlnmov_double(0.1));
    CHECK_INT(out.type, KVLNMOV_DOUBLE);
    CHECK(out.value.real == 0.1);
    {
        kvlnmov_variant in = kvlnmov_date_time(2026, 3, 15, 17, 30, 5);
        in.value.date.millisecond = 123;
        out = round_trip(context, in);
        CHECK_INT(out.type, KVLNMOV_DATE);
        CHECK_INT(out.value.date.year, 2026);
        CHECK_INT(out.value.date.month, 3);
        CHECK_INT(out.value.date.day, 15);
        CHECK_INT(out.value.date.hour, 17);
        CHECK_INT(out.value.date.minute, 30);
        CHECK_INT(out.value.date.second, 5);
        CHECK_INT(out.value.date.millisecond, 123);
    }
    out = round_trip(context, kvlnmov_text("A\xc3\xb1o contable \xe2\x82\xac"));
    CHECK_INT(out.type, KVLNMOV_STRING);
    CHECK_TEXT(out.value.text, "A\xc3\xb1o contable \xe2\x82\xac");
    kvlnmov_variant_clear(&out);
    CHECK_INT(out.type, KVLNMOV_EMPTY);
    out = round_trip(context, kvlnmov_text(""));
    CHECK_TEXT(out.value.text, "");
    kvlnmov_variant_clear(&out);

    /* An object comes back as a new handle on the same object. */
    MUST(kvlnmov_create("KVLNMOV.clsConcepto", &other, &e_));
    out = round_trip(context, kvlnmov_object_value(other));
    CHECK_INT(out.type, KVLNMOV_OBJECT);
    CHECK(out.value.object != other);
    CHECK_INT(kvlnmov_same_object(out.value.object, other), 1);
    kvlnmov_variant_clear(&out);
    out = round_trip(context, kvlnmov_object_value(NULL));
    CHECK_INT(out.type, KVLNMOV_OBJECT);
    CHECK(out.value.object == NULL);
    kvlnmov_release(other);

    /* Values that cannot be made. */
    {
        kvlnmov_variant bad = kvlnmov_date_value(2026, 2, 30);
        kvlnmov_variant unknown = kvlnmov_empty();
        unknown.type = 4;
        EXPECT_ERROR(kvlnmov_context_set_value(context, "Valor", &bad, &err_), 5, "KVLNMOV",
                     "Invalid procedure call or argument");
        EXPECT_ERROR(kvlnmov_context_set_value(context, "Valor", &unknown, &err_), 5, "KVLNMOV",
                     "Invalid procedure call or argument");
        bad = kvlnmov_text(NULL);
        EXPECT_ERROR(kvlnmov_context_set_value(context, "Valor", &bad, &err_), 5, "KVLNMOV",
                     "Invalid procedure call or argument");
    }

    /* Dates as the library counts days. */
    {
        kvlnmov_date day = kvlnmov_date_time(1900, 1, 1, 6, 0, 0).value.date;
        int32_t serial = 0, millisecond = 0;
        kvlnmov_date back;
        MUST(kvlnmov_date_to_serial(&day, &serial, &millisecond, &e_));
        CHECK_INT(serial, 2);
        CHECK_INT(millisecond, 6 * 3600000);
        MUST(kvlnmov_date_from_serial(46083, 0, &back, &e_));
        CHECK_INT(back.year, 2026);
        CHECK_INT(back.month, 3);
        CHECK_INT(back.day, 2);
    }

    /* Values converted by a property's declared kind on the way in, typed on the way out. */
    {
        kvlnmov_object* line = NULL;
        kvlnmov_object* book = NULL;
        MUST(kvlnmov_create("KVLNMOV.clsMov", &line, &e_));
        /* Texts are read with the regional settings: a comma separates the decimals. */
        put(line, "Debe", kvlnmov_text("1234,5678"));
        MUST(kvlnmov_get(line, "Debe", NULL, 0, &out, &e_));
        CHECK_INT(out.type, KVLNMOV_CURRENCY);
        CHECK(out.value.currency == INT64_C(12345678));
        put(line, "Haber", kvlnmov_currency(INT64_C(-9223372036854775807)));
        MUST(kvlnmov_get(line, "Haber", NULL, 0, &out, &e_));
        CHECK(out.value.currency == INT64_C(-9223372036854775807));
        put(line, "Asiento", kvlnmov_double(41.5));
        MUST(kvlnmov_get(line, "Asiento", NULL, 0, &out, &e_));
        CHECK_INT(out.type, KVLNMOV_LONG);
        CHECK_INT(out.value.long_value, 42);
        put(line, "Diario", kvlnmov_text("7"));
        MUST(kvlnmov_get(line, "Diario", NULL, 0, &out, &e_));
        CHECK_INT(out.type, KVLNMOV_INTEGER);
        CHECK_INT(out.value.integer, 7);
        put(line, "M347", kvlnmov_long(5));
        MUST(kvlnmov_get(line, "M347", NULL, 0, &out, &e_));
        CHECK_INT(out.type, KVLNMOV_BOOLEAN);
        CHECK_INT(out.value.boolean, 1);
        /* A line's dates are days: the time of day is dropped. */
        put(line, "Fecha", kvlnmov_date_time(2026, 4, 2, 9, 15, 0));
        MUST(kvlnmov_get(line, "Fecha", NULL, 0, &out, &e_));
        CHECK_INT(out.type, KVLNMOV_DATE);
        CHECK_INT(out.value.date.year, 2026);
        CHECK_INT(out.value.date.month, 4);
        CHECK_INT(out.value.date.day, 2);
        CHECK_INT(out.value.date.hour, 0);
        CHECK_INT(out.value.date.minute, 0);
        put(line, "Cuenta", kvlnmov_integer(43000001 % 10000));
        MUST(kvlnmov_get(line, "Cuenta", NULL, 0, &out, &e_));
        CHECK_INT(out.type, KVLNMOV_STRING);
        CHECK_TEXT(out.value.text, "1");
        kvlnmov_variant_clear(&out);
        {
            kvlnmov_variant too_big = kvlnmov_long(70000);
            EXPECT_ERROR(kvlnmov_put(line, "Diario", NULL, 0, &too_big, &err_), 6, "KVLNMOV",
                         "Overflow");
            too_big = kvlnmov_null();
            EXPECT_ERROR(kvlnmov_put(line, "Diario", NULL, 0, &too_big, &err_), 94, "KVLNMOV",
                         "Invalid use of Null");
        }
        MUST(kvlnmov_create("KVLNMOV.clsLibroIgic", &book, &e_));
        put(book, "TipoIgIV", kvlnmov_integer(200));
        MUST(kvlnmov_get(book, "TipoIgIV", NULL, 0, &out, &e_));
        CHECK_INT(out.type, KVLNMOV_BYTE);
        CHECK_INT(out.value.byte, 200);
        /* An indexed property takes its index; the wrong number of them is refused, and so
         * is an index past the rate lines the record holds. */
        {
            kvlnmov_variant beyond = kvlnmov_integer(0);
            kvlnmov_variant amount = kvlnmov_currency(10000);
            EXPECT_ERROR(kvlnmov_put(book, "Base", &beyond, 1, &amount, &err_), 9, "KVLNMOV",
                         "Subscript out of range");
            put(book, "Cantidad", kvlnmov_integer(3));
            kvlnmov_variant index = kvlnmov_integer(2);
            kvlnmov_variant base = kvlnmov_currency(1005000);
            MUST(kvlnmov_put(book, "Base", &index, 1, &base, &e_));
            MUST(kvlnmov_get(book, "Base", &index, 1, &out, &e_));
            CHECK_INT(out.type, KVLNMOV_CURRENCY);
            CHECK_INT(out.value.currency, 1005000);
            index = kvlnmov_integer(1);
            MUST(kvlnmov_get(book, "Base", &index, 1, &out, &e_));
            CHECK_INT(out.value.currency, 0);
            EXPECT_ERROR(kvlnmov_get(book, "Base", NULL, 0, &out, &err_), 450, "KVLNMOV",
                         "Wrong number of arguments or invalid property assignment");
            EXPECT_ERROR(kvlnmov_get(book, "Cuota", &index, 1, &out, &err_), 451, "KVLNMOV",
                         "Property let procedure not defined and property get procedure did "
                         "not return an object");
        }
        kvlnmov_release(book);
        kvlnmov_release(line);
    }
    kvlnmov_release(context);
}

/* Reads the balance row of `account` (level, debit and credit of March) into the out values. */
static int balance(kvlnmov_object* connection, const char* account, int32_t* level, int64_t* debit,
                   int64_t* credit) {
    char query[256];
    kvlnmov_object* rows = NULL;
    kvlnmov_variant value = kvlnmov_empty();
    int eof = 1;
    snprintf(query, sizeof query,
             "SELECT Nivel, D3, H3 FROM Acumulados WHERE Cod_Empresa = 1 AND Cod_Ejercicio = 2026 "
             "AND Cuenta = '%s'",
             account);
    MUST(kvlnmov_query(connection, query, &rows, &e_));
    MUST(kvlnmov_recordset_eof(rows, &eof, &e_));
    if (eof) {
        kvlnmov_release(rows);
        return 0;
    }
    MUST(kvlnmov_recordset_field_by_name(rows, "Nivel", &value, &e_));
    *level = value.type == KVLNMOV_INTEGER ? value.value.integer : -1;
    MUST(kvlnmov_recordset_field(rows, 1, &value, &e_));
    *debit = value.type == KVLNMOV_CURRENCY ? value.value.currency : -1;
    MUST(kvlnmov_recordset_field_by_name(rows, "h3", &value, &e_));
    *credit = value.type == KVLNMOV_CURRENCY ? value.value.currency : -1;
    MUST(kvlnmov_recordset_move_next(rows, &e_));
    MUST(kvlnmov_recordset_eof(rows, &eof, &e_));
    CHECK_INT(eof, 1);
    kvlnmov_release(rows);
    return 1;
}

static void post_line(kvlnmov_object* context, int32_t entry, const char* account, int64_t debit,
                      int64_t credit) {
    kvlnmov_object* line = NULL;
    kvlnmov_variant result = kvlnmov_empty();
    MUST(kvlnmov_create("KVLNMOV.clsMov", &line, &e_));
    set_object(line, "cEmpresa", context);
    put(line, "Asiento", kvlnmov_long(entry));
    put(line, "Fecha_Asiento", kvlnmov_date_value(2026, 3, 2));
    put(line, "Cuenta", kvlnmov_text(account));
    put(line, "Concepto", kvlnmov_text("Factura 17 de Comercial Atl\xc3\xa1ntica"));
    put(line, "Debe", kvlnmov_currency(debit));
    put(line, "Haber", kvlnmov_currency(credit));
    MUST(kvlnmov_invoke(line, "Insertar", NULL, 0, &result, &e_));
    CHECK_INT(result.type, KVLNMOV_BOOLEAN);
    CHECK_INT(result.value.boolean, 1);
    kvlnmov_release(line);
}

static void test_entry_posted_with_its_balances(void) {
    kvlnmov_object* connection = open_company("journal.db");
    kvlnmov_object* context = NULL;
    kvlnmov_object* entry = NULL;
    kvlnmov_object* rows = NULL;
    kvlnmov_variant value = kvlnmov_empty();
    int32_t level = 0, rows_affected = 0;
    int64_t debit = 0, credit = 0;
    int eof = 0;
    /* Every level of the three accounts (levels 1, 2, 3, 4 and 8 characters long). The
     * accumulation writes the chart's level count (5) as Nivel on every row it creates. */
    static const struct {
        const char* account;
        int64_t debit, credit;
    } expected[] = {
        {"4", 12100000, 2100000}, {"43", 12100000, 0},       {"430", 12100000, 0},
        {"4300", 12100000, 0},    {"43000001", 12100000, 0}, {"47", 0, 2100000},
        {"477", 0, 2100000},      {"4770", 0, 2100000},      {"47700000", 0, 2100000},
        {"7", 0, 10000000},       {"70", 0, 10000000},       {"700", 0, 10000000},
        {"7000", 0, 10000000},    {"70000000", 0, 10000000},
    };
    size_t i;

    MUST(kvlnmov_context_open(connection, 1, 2026, &context, &e_));
    {
        kvlnmov_variant user = kvlnmov_integer(7);
        MUST(kvlnmov_context_set_value(context, "UsuarioActual", &user, &e_));
    }
    MUST(kvlnmov_create("KVLNMOV.clsAsiento", &entry, &e_));
    set_object(entry, "Conexion", connection);
    set_object(entry, "cEmpresa", context);
    put(entry, "Fecha", kvlnmov_date_value(2026, 3, 2));
    put(entry, "Usuario", kvlnmov_integer(7));
    MUST(kvlnmov_invoke(entry, "Insertar", NULL, 0, &value, &e_));
    CHECK_INT(value.type, KVLNMOV_BOOLEAN);
    CHECK_INT(value.value.boolean, 1);
    MUST(kvlnmov_get(entry, "Codigo", NULL, 0, &value, &e_));
    CHECK_INT(value.type, KVLNMOV_LONG);
    CHECK_INT(value.value.long_value, 1);

    post_line(context, 1, "43000001", INT64_C(12100000), 0);
    post_line(context, 1, "70000000", 0, INT64_C(10000000));
    post_line(context, 1, "47700000", 0, INT64_C(2100000));

    for (i = 0; i < sizeof expected / sizeof expected[0]; ++i) {
        level = -1;
        debit = credit = -1;
        CHECK_INT(balance(connection, expected[i].account, &level, &debit, &credit), 1);
        CHECK_INT(level, 5);
        CHECK_INT(debit, expected[i].debit);
        CHECK_INT(credit, expected[i].credit);
    }

    /* And no other balance row. */
    MUST(kvlnmov_query(connection, "SELECT COUNT(*) FROM Acumulados", &rows, &e_));
    MUST(kvlnmov_recordset_field(rows, 0, &value, &e_));
    CHECK_INT(value.value.long_value, 14);
    kvlnmov_release(rows);

    /* The lines as the journal holds them. */
    MUST(kvlnmov_query(connection,
                       "SELECT Apunte, Cuenta, Debe, Haber, Fecha_Asiento, Cod_Usuario FROM "
                       "Movimientos WHERE Cod_Asiento = 1 ORDER BY Apunte",
                       &rows, &e_));
    {
        static const char* const accounts[] = {"43000001", "70000000", "47700000"};
        static const int64_t debits[] = {12100000, 0, 0};
        static const int64_t credits[] = {0, 10000000, 2100000};
        int32_t count = 0;
        char* name = NULL;
        MUST(kvlnmov_recordset_field_count(rows, &count, &e_));
        CHECK_INT(count, 6);
        MUST(kvlnmov_recordset_field_name(rows, 4, &name, &e_));
        CHECK_TEXT(name, "Fecha_Asiento");
        kvlnmov_free(name);
        EXPECT_ERROR(kvlnmov_recordset_field_name(rows, 6, &name, &err_), 3265, "ADODB.Recordset",
                     "Item cannot be found in the collection corresponding to the requested name "
                     "or ordinal.");
        for (i = 0; i < 3; ++i) {
            MUST(kvlnmov_recordset_eof(rows, &eof, &e_));
            CHECK_INT(eof, 0);
            MUST(kvlnmov_recordset_field(rows, 0, &value, &e_));
            CHECK_INT(value.type, KVLNMOV_LONG);
            CHECK_INT(value.value.long_value, (int32_t)i + 1);
            MUST(kvlnmov_recordset_field(rows, 1, &value, &e_));
            CHECK_TEXT(value.value.text, accounts[i]);
            kvlnmov_variant_clear(&value);
            MUST(kvlnmov_recordset_field(rows, 2, &value, &e_));
            CHECK(value.type == KVLNMOV_CURRENCY && value.value.currency == debits[i]);
            MUST(kvlnmov_recordset_field(rows, 3, &value, &e_));
            CHECK(value.type == KVLNMOV_CURRENCY && value.value.currency == credits[i]);
            MUST(kvlnmov_recordset_field(rows, 4, &value, &e_));
            CHECK_INT(value.type, KVLNMOV_DATE);
            CHECK_INT(value.value.date.month, 3);
            CHECK_INT(value.value.date.day, 2);
            MUST(kvlnmov_recordset_field_by_name(rows, "COD_USUARIO", &value, &e_));
            CHECK_INT(value.type, KVLNMOV_INTEGER);
            CHECK_INT(value.value.integer, 7);
            MUST(kvlnmov_recordset_move_next(rows, &e_));
        }
        MUST(kvlnmov_recordset_eof(rows, &eof, &e_));
        CHECK_INT(eof, 1);
        EXPECT_ERROR(kvlnmov_recordset_field(rows, 0, &value, &err_), 3021, "ADODB.Recordset",
                     "Either BOF or EOF is True, or the current record has been deleted. "
                     "Requested operation requires a current record.");
        EXPECT_ERROR(kvlnmov_recordset_field_by_name(rows, "Nada", &value, &err_), 3265,
                     "ADODB.Recordset",
                     "Item cannot be found in the collection corresponding to the requested name "
                     "or ordinal.");
    }
    kvlnmov_release(rows);

    /* Statements count the rows they change. */
    MUST(kvlnmov_execute(connection,
                         "UPDATE Asientos SET Observaciones = 'Revisado' WHERE Codigo = 1",
                         &rows_affected, &e_));
    CHECK_INT(rows_affected, 1);
    MUST(kvlnmov_get(entry, "Observaciones", NULL, 0, &value, &e_));
    CHECK_TEXT(value.value.text, "");
    kvlnmov_variant_clear(&value);

    kvlnmov_release(entry);
    kvlnmov_release(context);
    kvlnmov_release(connection);
    kvlnmov_reset();
}

/* An operation that opens the recordset it is given, and an operation's check error. */
static void test_recordset_filled_by_an_operation(void) {
    kvlnmov_object* connection = open_company("templates.db");
    kvlnmov_object* context = NULL;
    kvlnmov_object* lines = NULL;
    kvlnmov_object* rows = NULL;
    kvlnmov_object* forecast = NULL;
    kvlnmov_variant value = kvlnmov_empty();
    int32_t count = 0;
    int eof = 0;
    char* name = NULL;

    MUST(kvlnmov_execute(connection,
                         "INSERT INTO Apuntes_Aut (Cod_Empresa, Cod_Asiento, Cuenta, Concepto, "
                         "Documento, Diario, Dpto, Importe, Tipo) VALUES (1, 'ALQ', '62100000', "
                         "'Alquiler', 'R-1', 1, 0, 850.25, 1)",
                         NULL, &e_));
    MUST(kvlnmov_context_open(connection, 1, 2026, &context, &e_));
    MUST(kvlnmov_create("KVLNMOV.clsMovAut", &lines, &e_));
    set_object(lines, "Conexion", connection);
    set_object(lines, "cEmpresa", context);
    put(lines, "Asiento", kvlnmov_text("ALQ"));
    MUST(kvlnmov_recordset_new(&rows, &e_));
    EXPECT_ERROR(kvlnmov_recordset_eof(rows, &eof, &err_), 3704, "ADODB.Recordset",
                 "Operation is not allowed when the object is closed.");
    {
        kvlnmov_variant argument = kvlnmov_object_value(rows);
        MUST(kvlnmov_invoke(lines, "Cargar", &argument, 1, &value, &e_));
    }
    CHECK_INT(value.value.boolean, 1);
    MUST(kvlnmov_class_name(rows, &name, &e_));
    CHECK_TEXT(name, "Recordset");
    kvlnmov_free(name);
    MUST(kvlnmov_recordset_field_count(rows, &count, &e_));
    CHECK_INT(count, 10);
    MUST(kvlnmov_recordset_eof(rows, &eof, &e_));
    CHECK_INT(eof, 0);
    MUST(kvlnmov_recordset_field_by_name(rows, "Cuenta", &value, &e_));
    CHECK_TEXT(value.value.text, "62100000");
    kvlnmov_variant_clear(&value);
    MUST(kvlnmov_recordset_field_by_name(rows, "Importe", &value, &e_));
    CHECK(value.type == KVLNMOV_CURRENCY && value.value.currency == INT64_C(8502500));
    MUST(kvlnmov_recordset_field_by_name(rows, "Tipo", &value, &e_));
    CHECK_INT(value.type, KVLNMOV_BOOLEAN);
    CHECK_INT(value.value.boolean, 1);
    MUST(kvlnmov_recordset_move_next(rows, &e_));
    MUST(kvlnmov_recordset_eof(rows, &eof, &e_));
    CHECK_INT(eof, 1);

    /* A check made by an operation carries the operation as its source. */
    MUST(kvlnmov_create("KVLNMOV.clsPrevPagos", &forecast, &e_));
    set_object(forecast, "cEmpresa", context);
    put(forecast, "Asiento", kvlnmov_long(5));
    put(forecast, "ApunteMov", kvlnmov_long(0));
    put(forecast, "Cod_EjercicioMov", kvlnmov_integer(2026));
    put(forecast, "Cuenta", kvlnmov_text("40000002"));
    EXPECT_ERROR(kvlnmov_invoke(forecast, "Insertar", NULL, 0, &value, &err_), 1000,
                 "clsPrevPagos:Insertar",
                 "No se ha especificado el ejercicio/apunte del movimeinto asociado");

    kvlnmov_release(forecast);
    kvlnmov_release(rows);
    kvlnmov_release(lines);
    kvlnmov_release(context);
    kvlnmov_release(connection);
    kvlnmov_reset();
}

/* What the application's user interface was asked. */
struct shown {
    int boxes;
    char text[128];
    char title[64];
    int32_t icon, buttons;
    int32_t answer;
    int yields;
};

static int32_t record_box(void* data, const char* text, int32_t icon, int32_t buttons,
                          const char* title) {
    struct shown* shown = (struct shown*)data;
    ++shown->boxes;
    snprintf(shown->text, sizeof shown->text, "%s", text);
    snprintf(shown->title, sizeof shown->title, "%s", title);
    shown->icon = icon;
    shown->buttons = buttons;
    return shown->answer;
}

static void record_yield(void* data) { ++((struct shown*)data)->yields; }

static void test_message_boxes_and_yields_reach_the_application(void) {
    struct shown shown;
    kvlnmov_object* forecast = NULL;
    kvlnmov_object* connection = open_company("retries.db");
    kvlnmov_object* context = NULL;
    kvlnmov_object* line = NULL;
    kvlnmov_variant value = kvlnmov_empty();

    memset(&shown, 0, sizeof shown);
    MUST(kvlnmov_set_user_interface(record_box, record_yield, &shown, &e_));
    /* The obsolete numeric document of a forecast says so in a message box. */
    MUST(kvlnmov_create("KVLNMOV.clsPrevCobros", &forecast, &e_));
    MUST(kvlnmov_get(forecast, "Documento", NULL, 0, &value, &e_));
    CHECK_INT(value.type, KVLNMOV_LONG);
    CHECK_INT(value.value.long_value, 0);
    CHECK_INT(shown.boxes, 1);
    CHECK_TEXT(shown.text, "DESCATALOGADO. Use DocumentoSTR");
    CHECK_TEXT(shown.title, "\xc2\xa1 Atenci\xc3\xb3n !");
    CHECK_INT(shown.icon, 48);
    CHECK_INT(shown.buttons, 0);

    /* A line whose statement fails (a concept holding a quote would end its literal): the
     * statement is tried seven times, the application yielding between attempts, and the
     * server's syntax error reaches the caller under the operation's source. */
    MUST(kvlnmov_context_open(connection, 1, 2026, &context, &e_));
    MUST(kvlnmov_create("KVLNMOV.clsMov", &line, &e_));
    set_object(line, "Conexion", connection);
    set_object(line, "cEmpresa", context);
    put(line, "Asiento", kvlnmov_long(1));
    put(line, "Fecha_Asiento", kvlnmov_date_value(2026, 3, 2));
    put(line, "Cuenta", kvlnmov_text("43000001"));
    put(line, "Debe", kvlnmov_currency(10000));
    put(line, "Concepto", kvlnmov_text("L'Oreal"));
    EXPECT_ERROR(kvlnmov_invoke(line, "Insertar", NULL, 0, NULL, &err_), -2147217900,
                 "clsMov::Insertar", "Incorrect syntax near 'Oreal'.");
    CHECK_INT(shown.yields, 6);
    CHECK_INT(shown.boxes, 1);
    {
        kvlnmov_object* rows = NULL;
        MUST(kvlnmov_query(connection, "SELECT COUNT(*) FROM Movimientos", &rows, &e_));
        MUST(kvlnmov_recordset_field(rows, 0, &value, &e_));
        CHECK_INT(value.value.long_value, 0);
        kvlnmov_release(rows);
    }

    /* Both NULL restore the default interface; the recording one is asked no more. */
    MUST(kvlnmov_set_user_interface(NULL, NULL, NULL, &e_));
    MUST(kvlnmov_get(forecast, "Documento", NULL, 0, &value, &e_));
    CHECK_INT(shown.boxes, 1);

    kvlnmov_release(line);
    kvlnmov_release(context);
    kvlnmov_release(forecast);
    kvlnmov_release(connection);
    kvlnmov_reset();
}

static const kvlnmov_class_info* find_class(const kvlnmov_class_info* classes, size_t count,
                                            const char* prog_id) {
    size_t i;
    for (i = 0; i < count; ++i)
        if (strcmp(classes[i].prog_id, prog_id) == 0) return &classes[i];
    return NULL;
}

static const kvlnmov_property_info* find_property(const kvlnmov_class_info* info,
                                                  const char* name) {
    size_t i;
    for (i = 0; info && i < info->property_count; ++i)
        if (strcmp(info->properties[i].name, name) == 0) return &info->properties[i];
    return NULL;
}

static const kvlnmov_method_info* find_method(const kvlnmov_class_info* info, const char* name) {
    size_t i;
    for (i = 0; info && i < info->method_count; ++i)
        if (strcmp(info->methods[i].name, name) == 0) return &info->methods[i];
    return NULL;
}

static void test_registered_classes_with_their_members(void) {
    kvlnmov_class_info* classes = NULL;
    size_t count = 0, i;
    const kvlnmov_class_info* line;
    const kvlnmov_class_info* book;
    const kvlnmov_property_info* property;
    const kvlnmov_method_info* method;
    static const char* const prog_ids[] = {
        "KVLNMOV.clsApertura",
        "KVLNMOV.clsAsiento",
        "KVLNMOV.clsAsientoAut",
        "KVLNMOV.clsConcepto",
        "KVLNMOV.clsLibroIgic",
        "KVLNMOV.clsLibroIrpf",
        "KVLNMOV.clsMov",
        "KVLNMOV.clsMovAut",
        "KVLNMOV.clsPrevCobros",
        "KVLNMOV.clsPrevPagos",
        "KVLNMOV.clsPVivasAp",
        "KVLNMOV.clsUsuario",
        "KVLNMOV.frmclsAsientoVisor",
    };

    MUST(kvlnmov_registered_classes(&classes, &count, &e_));
    CHECK_INT(count, sizeof prog_ids / sizeof prog_ids[0]);
    for (i = 0; i < count && i < sizeof prog_ids / sizeof prog_ids[0]; ++i)
        CHECK_TEXT(classes[i].prog_id, prog_ids[i]);

    line = find_class(classes, count, "KVLNMOV.clsMov");
    CHECK(line != NULL);
    if (line) {
        CHECK_TEXT(line->name, "clsMov");
        CHECK_INT(line->property_count, 25);
        CHECK_INT(line->method_count, 16);
        property = find_property(line, "Debe");
        CHECK(property && property->kind == KVLNMOV_CURRENCY && property->index_count == 0 &&
              property->readable && property->writable);
        property = find_property(line, "Conexion");
        CHECK(property && property->kind == KVLNMOV_OBJECT && !property->readable &&
              property->writable);
        property = find_property(line, "Imp_Op");
        CHECK(property && property->kind == KVLNMOV_LONG);
        method = find_method(line, "Acumulados");
        CHECK(method != NULL);
        if (method) {
            static const char* const names[] = {"bolAdd",  "dteFecha", "strCuenta",
                                                "intDpto", "curDebe",  "curHaber"};
            static const int32_t kinds[] = {KVLNMOV_BOOLEAN, KVLNMOV_DATE,     KVLNMOV_STRING,
                                            KVLNMOV_INTEGER, KVLNMOV_CURRENCY, KVLNMOV_CURRENCY};
            CHECK_INT(method->result, KVLNMOV_VOID);
            CHECK_INT(method->parameter_count, 6);
            for (i = 0; i < method->parameter_count && i < 6; ++i) {
                CHECK_TEXT(method->parameters[i].name, names[i]);
                CHECK_INT(method->parameters[i].kind, kinds[i]);
                CHECK_INT(method->parameters[i].optional, 0);
            }
        }
    }
    book = find_class(classes, count, "KVLNMOV.clsLibroIgic");
    property = find_property(book, "Cuota");
    CHECK(property && property->kind == KVLNMOV_CURRENCY && property->index_count == 1 &&
          !property->readable && property->writable);
    property = find_property(book, "Base");
    CHECK(property && property->index_count == 1 && property->readable);
    property = find_property(book, "TipoIgIV");
    CHECK(property && property->kind == KVLNMOV_BYTE);
    kvlnmov_classes_free(classes, count);
}

int main(void) {
    const char* provider = getenv("KVLNMOV_TEST_PROVIDER");
    strcpy(folder, "/tmp/kvlnmov-capi-XXXXXX");
    if (provider && *provider && strcmp(provider, "sqlite") != 0) {
        if (strcmp(provider, "odbc") != 0) {
            printf("capi_test: provider %s not run by this program\n", provider);
            return 77;
        }
        odbc = 1;
    }
    strcpy(provider_source, odbc ? "kvlnmov ODBC provider" : "kvlnmov SQLite provider");
    if (!mkdtemp(folder)) {
        perror("mkdtemp");
        return 1;
    }
    test_version();
    test_errors_cross_intact();
    test_every_variant_type_round_trips();
    test_entry_posted_with_its_balances();
    test_recordset_filled_by_an_operation();
    test_registered_classes_with_their_members();
    test_message_boxes_and_yields_reach_the_application();
    {
        char command[512];
        snprintf(command, sizeof command, "rm -rf '%s'", folder);
        if (system(command) != 0) fprintf(stderr, "could not remove %s\n", folder);
    }
    printf("capi_test: %d checks, %d failed\n", checks, failures);
    return failures == 0 ? 0 : 1;
}
