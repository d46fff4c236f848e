// Connections, company databases, contexts and recordsets through the C interface.

#include <cstring>
#include <vector>

#include "capi/handles.h"
#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/empresa_context.h"
#include "kvlnmov/db/connection.h"
#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"

using kvlnmov::capi::guarded;
using kvlnmov::capi::invalidArgument;
using kvlnmov::capi::objectAs;
using kvlnmov::capi::textArgument;

namespace {

template <class T>
void require(T* pointer) {
    if (!pointer) throw invalidArgument();
}

}  // namespace

extern "C" {

kvlnmov_status kvlnmov_connect(const char* connection_string, kvlnmov_object** connection,
                               kvlnmov_error* error) {
    if (connection) *connection = nullptr;
    return guarded(error, [&] {
        require(connection);
        auto opened = kvlnmov::db::openConnection(textArgument(connection_string));
        *connection = kvlnmov::capi::newHandle(std::move(opened));
    });
}

kvlnmov_status kvlnmov_execute(kvlnmov_object* connection, const char* statement,
                               int32_t* rows_affected, kvlnmov_error* error) {
    return guarded(error, [&] {
        auto target = objectAs<kvlnmov::db::Connection>(connection);
        std::int32_t rows = target->Execute(textArgument(statement));
        if (rows_affected) *rows_affected = rows;
    });
}

kvlnmov_status kvlnmov_query(kvlnmov_object* connection, const char* query,
                             kvlnmov_object** recordset, kvlnmov_error* error) {
    if (recordset) *recordset = nullptr;
    return guarded(error, [&] {
        require(recordset);
        auto source = objectAs<kvlnmov::db::Connection>(connection);
        auto rows = std::make_shared<kvlnmov::db::Recordset>();
        rows->Open(textArgument(query), source);
        *recordset = kvlnmov::capi::newHandle(std::move(rows));
    });
}

void kvlnmov_company_seed_init(kvlnmov_company_seed* seed) {
    if (!seed) return;
    std::memset(seed, 0, sizeof *seed);
    seed->company = 1;
    seed->exercise = 2026;
    seed->name = "Empresa de pruebas";
    seed->first_day = kvlnmov_date{2026, 1, 1, 0, 0, 0, 0};
    seed->last_day = kvlnmov_date{2026, 12, 31, 0, 0, 0, 0};
    seed->levels = "1,2,3,4,8";
    seed->numbering = 0;
    seed->tax = 0;
    seed->open = 1;
}

kvlnmov_status kvlnmov_seed_company(kvlnmov_object* connection, const kvlnmov_company_seed* seed,
                                    kvlnmov_error* error) {
    return guarded(error, [&] {
        require(seed);
        auto target = objectAs<kvlnmov::db::Connection>(connection);
        kvlnmov::CompanySeed company;
        company.company = seed->company;
        company.exercise = seed->exercise;
        company.name = std::string(textArgument(seed->name));
        company.firstDay = kvlnmov::capi::toDate(seed->first_day);
        company.lastDay = kvlnmov::capi::toDate(seed->last_day);
        company.levels = std::string(textArgument(seed->levels));
        company.numbering = seed->numbering;
        company.tax = seed->tax;
        company.open = seed->open != 0;
        kvlnmov::seedCompany(*target, company);
    });
}

kvlnmov_status kvlnmov_context_open(kvlnmov_object* connection, int16_t company, int16_t exercise,
                                    kvlnmov_object** context, kvlnmov_error* error) {
    if (context) *context = nullptr;
    return guarded(error, [&] {
        require(context);
        auto source = objectAs<kvlnmov::db::Connection>(connection);
        auto made = std::make_shared<kvlnmov::EmpresaContext>(source, company, exercise);
        *context = kvlnmov::capi::newHandle(std::move(made));
    });
}

kvlnmov_status kvlnmov_context_new(const kvlnmov_context_settings* settings,
                                   kvlnmov_object** context, kvlnmov_error* error) {
    if (context) *context = nullptr;
    return guarded(error, [&] {
        require(settings);
        require(context);
        auto made = std::make_shared<kvlnmov::SettableContext>();
        made->company = settings->company;
        made->exercise = settings->exercise;
        made->firstDay = kvlnmov::capi::toDate(settings->first_day);
        made->lastDay = kvlnmov::capi::toDate(settings->last_day);
        if (settings->level_count > 0) {
            require(settings->level_lengths);
            made->levelLengths.assign(settings->level_lengths,
                                      settings->level_lengths + settings->level_count);
        }
        made->numberingScheme = settings->numbering;
        made->taxKind = settings->tax;
        *context = kvlnmov::capi::newHandle(std::move(made));
    });
}

kvlnmov_status kvlnmov_context_set_value(kvlnmov_object* context, const char* name,
                                         const kvlnmov_variant* value, kvlnmov_error* error) {
    return guarded(error, [&] {
        require(value);
        auto target = objectAs<kvlnmov::cEmpresa>(context);
        std::string key(textArgument(name));
        kvlnmov::Variant converted = kvlnmov::capi::toVariant(*value);
        if (auto fromDatabase = std::dynamic_pointer_cast<kvlnmov::EmpresaContext>(target)) {
            fromDatabase->setValor(std::move(key), std::move(converted));
        } else if (auto settable = std::dynamic_pointer_cast<kvlnmov::SettableContext>(target)) {
            settable->values[std::move(key)] = std::move(converted);
        } else {
            throw kvlnmov::typeMismatch();
        }
    });
}

kvlnmov_status kvlnmov_context_value(kvlnmov_object* context, const char* name,
                                     kvlnmov_variant* value, kvlnmov_error* error) {
    if (value) *value = kvlnmov_empty();
    return guarded(error, [&] {
        require(value);
        auto target = objectAs<kvlnmov::cEmpresa>(context);
        kvlnmov::capi::fromVariant(target->Valor(textArgument(name)), *value);
    });
}

kvlnmov_status kvlnmov_recordset_new(kvlnmov_object** recordset, kvlnmov_error* error) {
    if (recordset) *recordset = nullptr;
    return guarded(error, [&] {
        require(recordset);
        *recordset = kvlnmov::capi::newHandle(std::make_shared<kvlnmov::db::Recordset>());
    });
}

kvlnmov_status kvlnmov_recordset_eof(kvlnmov_object* recordset, int* eof, kvlnmov_error* error) {
    return guarded(error, [&] {
        require(eof);
        *eof = objectAs<kvlnmov::db::Recordset>(recordset)->Eof() ? 1 : 0;
    });
}

kvlnmov_status kvlnmov_recordset_move_next(kvlnmov_object* recordset, kvlnmov_error* error) {
    return guarded(error, [&] { objectAs<kvlnmov::db::Recordset>(recordset)->MoveNext(); });
}

kvlnmov_status kvlnmov_recordset_field_count(kvlnmov_object* recordset, int32_t* count,
                                             kvlnmov_error* error) {
    return guarded(error, [&] {
        require(count);
        *count = objectAs<kvlnmov::db::Recordset>(recordset)->FieldCount();
    });
}

kvlnmov_status kvlnmov_recordset_field_name(kvlnmov_object* recordset, int32_t index, char** name,
                                            kvlnmov_error* error) {
    if (name) *name = nullptr;
    return guarded(error, [&] {
        require(name);
        auto rows = objectAs<kvlnmov::db::Recordset>(recordset);
        *name = kvlnmov::capi::copyText(rows->FieldInfo(index).name);
    });
}

kvlnmov_status kvlnmov_recordset_field(kvlnmov_object* recordset, int32_t index,
                                       kvlnmov_variant* value, kvlnmov_error* error) {
    if (value) *value = kvlnmov_empty();
    return guarded(error, [&] {
        require(value);
        auto rows = objectAs<kvlnmov::db::Recordset>(recordset);
        kvlnmov::capi::fromVariant(rows->Fields(index), *value);
    });
}

kvlnmov_status kvlnmov_recordset_field_by_name(kvlnmov_object* recordset, const char* name,
                                               kvlnmov_variant* value, kvlnmov_error* error) {
    if (value) *value = kvlnmov_empty();
    return guarded(error, [&] {
        require(value);
        auto rows = objectAs<kvlnmov::db::Recordset>(recordset);
        kvlnmov::capi::fromVariant(rows->Fields(textArgument(name)), *value);
    });
}

}  // extern "C"
