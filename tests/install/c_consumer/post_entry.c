/* Creates a company database in the file given, posts a two-line entry through the C
 * interface only (objects by ProgID, properties and operations by name) and prints the
 * running balance of both accounts. */

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kvlnmov/kvlnmov.h"

static kvlnmov_error error = KVLNMOV_ERROR_INIT;

/* Stops the program with the library's error. */
static void check(kvlnmov_status status) {
    if (status == KVLNMOV_OK) return;
    fprintf(stderr, "Error %" PRId32 " (%s): %s\n", error.number,
            error.source ? error.source : "", error.description ? error.description : "");
    exit(1);
}

static void put(kvlnmov_object* object, const char* name, kvlnmov_variant value) {
    check(kvlnmov_put(object, name, NULL, 0, &value, &error));
}

/* An amount as the library prints it: no trailing zeros in the decimals ("1210", "0.5"). */
static void print_amount(int64_t ten_thousandths) {
    int64_t units = ten_thousandths / 10000;
    int64_t fraction = ten_thousandths % 10000;
    if (fraction < 0) fraction = -fraction;
    if (ten_thousandths < 0 && units == 0) printf("-");
    printf("%" PRId64, units);
    if (fraction != 0) {
        char digits[8];
        snprintf(digits, sizeof digits, "%04" PRId64, fraction);
        size_t length = strlen(digits);
        while (length > 0 && digits[length - 1] == '0') digits[--length] = '\0';
        printf(".%s", digits);
    }
}

/* A money column's value in ten-thousandths, whichever numeric type the provider gave it. */
static int64_t amount_of(const kvlnmov_variant* value) {
    switch (value->type) {
        case KVLNMOV_CURRENCY: return value->value.currency;
        case KVLNMOV_LONG: return (int64_t)value->value.long_value * 10000;
        case KVLNMOV_INTEGER: return (int64_t)value->value.integer * 10000;
        case KVLNMOV_DOUBLE: return (int64_t)(value->value.real * 10000.0 + (value->value.real < 0 ? -0.5 : 0.5));
        default: fprintf(stderr, "not an amount: type %" PRId32 "\n", value->type); exit(1);
    }
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: post_entry FILE\n");
        return 2;
    }
    char connection_string[4096];
    snprintf(connection_string, sizeof connection_string, "Provider=SQLite;Data Source=%s",
             argv[1]);
    kvlnmov_object* connection = NULL;
    check(kvlnmov_connect(connection_string, &connection, &error));
    kvlnmov_company_seed seed;
    kvlnmov_company_seed_init(&seed);
    check(kvlnmov_seed_company(connection, &seed, &error));
    kvlnmov_object* context = NULL;
    check(kvlnmov_context_open(connection, 1, 2026, &context, &error));

    kvlnmov_object* entry = NULL;
    check(kvlnmov_create("KVLNMOV.clsAsiento", &entry, &error));
    put(entry, "Conexion", kvlnmov_object_value(connection));
    put(entry, "cEmpresa", kvlnmov_object_value(context));
    put(entry, "Fecha", kvlnmov_date_value(2026, 3, 2));
    check(kvlnmov_invoke(entry, "Insertar", NULL, 0, NULL, &error));
    kvlnmov_variant number = kvlnmov_empty();
    check(kvlnmov_get(entry, "Codigo", NULL, 0, &number, &error));
    printf("entry %" PRId32 "\n", number.value.long_value);

    const char* accounts[2] = {"43000001", "70000001"};
    for (int i = 0; i < 2; ++i) {
        kvlnmov_object* line = NULL;
        check(kvlnmov_create("KVLNMOV.clsMov", &line, &error));
        put(line, "cEmpresa", kvlnmov_object_value(context));
        put(line, "Asiento", number);
        put(line, "Fecha_Asiento", kvlnmov_date_value(2026, 3, 2));
        put(line, "Fecha", kvlnmov_date_value(2026, 3, 2));
        put(line, "Cuenta", kvlnmov_text(accounts[i]));
        put(line, i == 0 ? "Debe" : "Haber", kvlnmov_currency(12100000));
        check(kvlnmov_invoke(line, "Insertar", NULL, 0, NULL, &error));
        kvlnmov_release(line);
    }

    kvlnmov_object* balances = NULL;
    check(kvlnmov_query(connection,
                        "SELECT Cuenta, D3, H3 FROM Acumulados WHERE Cuenta IN ('43000001', "
                        "'70000001') ORDER BY Cuenta",
                        &balances, &error));
    for (;;) {
        int eof = 0;
        check(kvlnmov_recordset_eof(balances, &eof, &error));
        if (eof) break;
        kvlnmov_variant account = kvlnmov_empty(), debit = kvlnmov_empty(),
                        credit = kvlnmov_empty();
        check(kvlnmov_recordset_field_by_name(balances, "Cuenta", &account, &error));
        check(kvlnmov_recordset_field_by_name(balances, "D3", &debit, &error));
        check(kvlnmov_recordset_field_by_name(balances, "H3", &credit, &error));
        printf("%s ", account.value.text);
        print_amount(amount_of(&debit));
        printf(" ");
        print_amount(amount_of(&credit));
        printf("\n");
        kvlnmov_variant_clear(&account);
        kvlnmov_variant_clear(&debit);
        kvlnmov_variant_clear(&credit);
        check(kvlnmov_recordset_move_next(balances, &error));
    }
    kvlnmov_release(balances);
    kvlnmov_release(entry);
    kvlnmov_release(context);
    kvlnmov_release(connection);
    kvlnmov_error_clear(&error);
    return 0;
}
