#include "posting_file.h"

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "commands.h"
#include "kvlnmov/forecasts/cls_prev_cobros.h"
#include "kvlnmov/forecasts/cls_prev_pagos.h"
#include "kvlnmov/journal/cls_asiento.h"
#include "kvlnmov/journal/cls_mov.h"
#include "kvlnmov/taxbooks/cls_libro_igic.h"
#include "kvlnmov/taxbooks/cls_libro_irpf.h"

namespace kvlnmov::cli {

namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void refuse(const std::string& where, const std::string& what) {
    throw UsageError{where + ": " + what};
}

Currency amountOf(const Json& value, const std::string& where) {
    std::optional<Currency> amount;
    if (value.is_number()) amount = Currency::parse(value.dump());
    if (value.is_string()) amount = Currency::parse(value.get<std::string>());
    if (!amount) refuse(where, "not an amount: " + value.dump());
    return *amount;
}

Currency amountOf(const std::string& text, const std::string& where) {
    if (text.empty()) return Currency();
    auto amount = Currency::parse(text);
    if (!amount) refuse(where, "not an amount with '.' as decimal separator: '" + text + "'");
    return *amount;
}

Date dateOf(const std::string& text, const std::string& where) {
    auto date = Date::parseIso(text);
    if (!date || date->hasTime()) refuse(where, "the date must be YYYY-MM-DD: '" + text + "'");
    return *date;
}

std::int16_t departmentOf(long long value, const std::string& where) {
    if (value < 0 || value > 32767) refuse(where, "department out of range");
    return static_cast<std::int16_t>(value);
}

void onlyKeys(const Json& object, std::initializer_list<const char*> allowed,
              const std::string& where) {
    if (!object.is_object()) refuse(where, "expected an object");
    for (const auto& [key, value] : object.items()) {
        bool known = false;
        for (const char* name : allowed) known = known || key == name;
        if (!known) refuse(where, "unknown key \"" + key + "\"");
    }
}

std::string textOf(const Json& object, const char* key, const std::string& where) {
    if (!object.contains(key)) return {};
    if (!object[key].is_string()) refuse(where, std::string(key) + " must be a text");
    return object[key].get<std::string>();
}

std::int16_t smallOf(const Json& object, const char* key, const std::string& where) {
    if (!object.contains(key)) return 0;
    if (!object[key].is_number_integer() || object[key].get<long long>() < 0 ||
        object[key].get<long long>() > 32767) {
        refuse(where, std::string(key) + " must be a whole number from 0 to 32767");
    }
    return static_cast<std::int16_t>(object[key].get<long long>());
}

Currency requiredAmount(const Json& object, const char* key, const std::string& where) {
    if (!object.contains(key)) refuse(where, std::string("missing ") + key);
    return amountOf(object[key], where);
}

DraftInvoice readInvoice(const Json& item, const std::string& where) {
    onlyKeys(item,
             {"book", "tax", "account", "name", "nif", "document", "rates", "withholding", "due"},
             where);
    DraftInvoice invoice;
    std::string book = textOf(item, "book", where);
    if (book == "issued") {
        invoice.book = enmLibros::kvRepercutido;
    } else if (book == "received") {
        invoice.book = enmLibros::kvSoportado;
    } else if (book == "capital") {
        invoice.book = enmLibros::kvBienInversion;
    } else {
        refuse(where, "book must be \"issued\", \"received\" or \"capital\"");
    }
    std::string tax = textOf(item, "tax", where);
    if (tax != "IVA" && tax != "IGIC") refuse(where, "tax must be \"IVA\" or \"IGIC\"");
    invoice.tax = tax == "IVA" ? 2 : 1;
    invoice.account = textOf(item, "account", where);
    invoice.name = textOf(item, "name", where);
    invoice.nif = textOf(item, "nif", where);
    invoice.document = textOf(item, "document", where);
    if (item.contains("rates")) {
        if (!item["rates"].is_array()) refuse(where, "rates must be a list");
        for (const Json& rate : item["rates"]) {
            onlyKeys(rate, {"operation", "base", "rate", "tax"}, where + ", rate");
            DraftRate line;
            line.operation = rate.contains("operation") ? smallOf(rate, "operation", where) : 1;
            line.base = requiredAmount(rate, "base", where + ", rate");
            line.rate = smallOf(rate, "rate", where + ", rate");
            line.tax = requiredAmount(rate, "tax", where + ", rate");
            invoice.rates.push_back(line);
        }
    }
    if (item.contains("withholding")) {
        const Json& held = item["withholding"];
        std::string at = where + ", withholding";
        onlyKeys(held, {"key", "rate", "account", "base", "amount", "total"}, at);
        DraftWithholding withholding;
        withholding.key = held.contains("key") ? smallOf(held, "key", at) : 1;
        withholding.rate = smallOf(held, "rate", at);
        withholding.account = textOf(held, "account", at);
        withholding.base = requiredAmount(held, "base", at);
        withholding.amount = requiredAmount(held, "amount", at);
        withholding.total = requiredAmount(held, "total", at);
        invoice.withholding = withholding;
    }
    if (item.contains("due")) {
        if (!item["due"].is_array()) refuse(where, "due must be a list");
        for (const Json& due : item["due"]) {
            onlyKeys(due, {"date", "amount"}, where + ", due");
            if (!due.contains("date") || !due["date"].is_string())
                refuse(where, "a due date needs its date");
            invoice.due.push_back({dateOf(due["date"].get<std::string>(), where + ", due"),
                                   requiredAmount(due, "amount", where + ", due")});
        }
    }
    return invoice;
}

std::vector<DraftEntry> readJson(std::istream& input, const std::string& name) {
    Json file;
    try {
        file = Json::parse(input);
    } catch (const Json::parse_error& error) {
        refuse(name, std::string("not valid JSON: ") + error.what());
    }
    onlyKeys(file, {"entries"}, name);
    if (!file.contains("entries") || !file["entries"].is_array())
        refuse(name, "expected {\"entries\": [...]}");
    std::vector<DraftEntry> entries;
    for (std::size_t i = 0; i < file["entries"].size(); ++i) {
        const Json& item = file["entries"][i];
        std::string where = name + ", entry " + std::to_string(i + 1);
        onlyKeys(item, {"date", "closing", "reference", "remarks", "lines", "invoice"}, where);
        DraftEntry entry;
        entry.origin = "entry " + std::to_string(i + 1);
        if (!item.contains("date") || !item["date"].is_string()) refuse(where, "missing date");
        entry.date = dateOf(item["date"].get<std::string>(), where);
        if (item.contains("closing")) {
            if (!item["closing"].is_boolean()) refuse(where, "closing must be true or false");
            entry.closing = item["closing"].get<bool>();
        }
        entry.externalReference = textOf(item, "reference", where);
        entry.remarks = textOf(item, "remarks", where);
        if (!item.contains("lines") || !item["lines"].is_array()) refuse(where, "missing lines");
        for (std::size_t j = 0; j < item["lines"].size(); ++j) {
            const Json& row = item["lines"][j];
            std::string at = where + ", line " + std::to_string(j + 1);
            onlyKeys(row, {"account", "debit", "credit", "concept", "document", "department"}, at);
            DraftLine line;
            line.account = textOf(row, "account", at);
            if (row.contains("debit")) line.debit = amountOf(row["debit"], at);
            if (row.contains("credit")) line.credit = amountOf(row["credit"], at);
            line.description = textOf(row, "concept", at);
            line.document = textOf(row, "document", at);
            if (row.contains("department")) {
                if (!row["department"].is_number_integer())
                    refuse(at, "department must be a number");
                line.department = departmentOf(row["department"].get<long long>(), at);
            }
            entry.lines.push_back(line);
        }
        if (item.contains("invoice"))
            entry.invoice = readInvoice(item["invoice"], where + ", invoice");
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::vector<std::string> splitCsv(const std::string& line) {
    std::vector<std::string> fields;
    std::string field;
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quoted) {
            if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
                field += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == ';') {
            fields.push_back(field);
            field.clear();
        } else if (c != '\r') {
            field += c;
        }
    }
    fields.push_back(field);
    return fields;
}

std::vector<DraftEntry> readCsv(std::istream& input, const std::string& name) {
    static const std::vector<std::string> kHeader{"entry",  "date",    "account",  "debit",
                                                  "credit", "concept", "document", "department"};
    std::string text;
    if (!std::getline(input, text)) refuse(name, "empty file");
    if (splitCsv(text) != kHeader) {
        refuse(
            name,
            "the first line must be entry;date;account;debit;credit;concept;document;department");
    }
    std::vector<DraftEntry> entries;
    std::map<std::string, std::size_t> byKey;
    int number = 1;
    while (std::getline(input, text)) {
        ++number;
        if (text.find_first_not_of(" \t\r") == std::string::npos) continue;
        std::string where = name + ", line " + std::to_string(number);
        auto fields = splitCsv(text);
        if (fields.size() != kHeader.size())
            refuse(where, "expected 8 fields, found " + std::to_string(fields.size()));
        Date date = dateOf(fields[1], where);
        auto found = byKey.find(fields[0]);
        if (found == byKey.end()) {
            DraftEntry entry;
            entry.date = date;
            entry.origin = "CSV entry " + fields[0];
            found = byKey.emplace(fields[0], entries.size()).first;
            entries.push_back(entry);
        } else if (entries[found->second].date != date) {
            refuse(where, "the lines of entry " + fields[0] + " have different dates");
        }
        DraftLine line;
        line.account = fields[2];
        line.debit = amountOf(fields[3], where);
        line.credit = amountOf(fields[4], where);
        line.description = fields[5];
        line.document = fields[6];
        if (!fields[7].empty()) {
            try {
                std::size_t used = 0;
                long long value = std::stoll(fields[7], &used);
                if (used != fields[7].size()) throw std::invalid_argument("department");
                line.department = departmentOf(value, where);
            } catch (const std::logic_error&) {
                refuse(where, "department must be a number: '" + fields[7] + "'");
            }
        }
        entries[found->second].lines.push_back(line);
    }
    return entries;
}

}  // namespace

std::vector<DraftEntry> readPostingFile(const std::filesystem::path& file) {
    std::ifstream input(file);
    if (!input) throw UsageError{file.string() + ": cannot be read"};
    std::string extension = file.extension().string();
    if (extension == ".json") return readJson(input, file.string());
    if (extension == ".csv") return readCsv(input, file.string());
    throw UsageError{file.string() + ": the file must end in .json or .csv"};
}

namespace {

/// The line of the invoice's party account, whose number the book record carries.
const DraftLine* partyLine(const DraftEntry& entry) {
    for (const DraftLine& line : entry.lines) {
        if (line.account == entry.invoice->account) return &line;
    }
    return nullptr;
}

void checkInvoice(const DraftEntry& entry, cEmpresa& context) {
    const DraftInvoice& invoice = *entry.invoice;
    std::string where = entry.origin + ", invoice";
    const DraftLine* party = partyLine(entry);
    if (!party)
        refuse(where, "the account " + invoice.account + " is on none of the entry's lines");
    for (const std::string* text : {&invoice.name, &invoice.nif, &invoice.document}) {
        if (text->find('\'') != std::string::npos) refuse(where, "texts may not hold a quote (')");
    }
    if (invoice.rates.empty()) refuse(where, "an invoice needs at least one rate line");
    if (invoice.withholding) {
        const std::string& account = invoice.withholding->account;
        if (account.size() != static_cast<std::size_t>(context.LongitudCuenta()) ||
            account.find_first_not_of("0123456789") != std::string::npos) {
            refuse(where, "the withholding account must be a full account: '" + account + "'");
        }
    }
    if (!invoice.due.empty()) {
        Currency due;
        for (const DraftDue& item : invoice.due) due += item.amount;
        Currency owed = party->debit.isZero() ? party->credit : party->debit;
        if (due != owed) {
            refuse(where, "the due amounts add up to " + due.toString() + ", the invoice to " +
                              owed.toString());
        }
    }
}

}  // namespace

void checkEntries(const std::vector<DraftEntry>& entries, cEmpresa& context) {
    if (entries.empty()) throw UsageError{"the file holds no entries"};
    auto length = static_cast<std::size_t>(context.LongitudCuenta());
    for (const DraftEntry& entry : entries) {
        const std::string& where = entry.origin;
        if (outsideExercise(context, entry.date)) {
            refuse(where, "the date " + entry.date.toIso() + " is outside the exercise (" +
                              context.FechaInicio().toIso() + " to " + context.FechaFin().toIso() +
                              ")");
        }
        if (entry.lines.size() < 2) refuse(where, "an entry needs at least two lines");
        for (const std::string* text : {&entry.externalReference, &entry.remarks}) {
            if (text->find('\'') != std::string::npos)
                refuse(where, "texts may not hold a quote (')");
        }
        Currency debits;
        Currency credits;
        for (std::size_t i = 0; i < entry.lines.size(); ++i) {
            const DraftLine& line = entry.lines[i];
            std::string at = where + ", line " + std::to_string(i + 1);
            if (line.account.size() != length ||
                line.account.find_first_not_of("0123456789") != std::string::npos) {
                refuse(at, "the account must be " + std::to_string(length) + " digits: '" +
                               line.account + "'");
            }
            if (line.debit < Currency() || line.credit < Currency())
                refuse(at, "amounts may not be negative");
            if (line.debit.isZero() == line.credit.isZero())
                refuse(at, "exactly one of debit and credit must be above zero");
            for (const std::string* text : {&line.description, &line.document}) {
                if (text->find('\'') != std::string::npos)
                    refuse(at, "texts may not hold a quote (')");
            }
            debits += line.debit;
            credits += line.credit;
        }
        if (debits != credits) {
            refuse(where,
                   "unbalanced: debits " + debits.toString() + ", credits " + credits.toString());
        }
        if (entry.invoice) checkInvoice(entry, context);
    }
}

namespace {

void postInvoice(const DraftEntry& draft, PostedEntry& posted, const db::ConnectionRef& connection,
                 const cEmpresaRef& context) {
    const DraftInvoice& invoice = *draft.invoice;
    std::size_t partyIndex = 0;
    while (draft.lines[partyIndex].account != invoice.account) ++partyIndex;
    std::int32_t party = posted.lines[partyIndex];
    const DraftLine& partyLine = draft.lines[partyIndex];

    auto book = std::make_shared<clsLibroIgic>();
    book->Conexion(connection);
    book->cEmpresa(context);
    book->TipoIgIV(invoice.tax);
    book->Apunte(party);
    book->Fecha(draft.date);
    book->Cuenta(invoice.account);
    book->DocumentoSTR(invoice.document);
    book->Asiento(posted.number);
    book->Libro(invoice.book);
    book->Nombre(invoice.name);
    book->Nif(invoice.nif);
    book->Cantidad(static_cast<std::int16_t>(invoice.rates.size()));
    for (std::size_t i = 0; i < invoice.rates.size(); ++i) {
        auto index = static_cast<std::int16_t>(i);
        const DraftRate& rate = invoice.rates[i];
        book->Operacion(index, rate.operation);
        book->Base(index, rate.base);
        book->Tipo(index, rate.rate);
        book->Cuota(index, rate.tax);
        // Input tax is deductible; output tax is not the company's to deduct.
        book->Deducible(index, invoice.book == enmLibros::kvRepercutido ? Currency() : rate.tax);
    }
    book->Insertar();

    if (invoice.withholding) {
        const DraftWithholding& held = *invoice.withholding;
        auto irpf = std::make_shared<clsLibroIrpf>();
        irpf->cEmpresa(context);
        irpf->Apunte(party);
        irpf->Fecha(draft.date);
        irpf->Cuenta(invoice.account);
        irpf->Documento(invoice.document);
        irpf->Asiento(posted.number);
        irpf->Libro(invoice.book);
        irpf->Nombre(invoice.name);
        irpf->Nif(invoice.nif);
        irpf->Cod_Irpf(held.key);
        irpf->TipoIrpf(held.rate);
        irpf->CuentaIrpf(held.account);
        irpf->ImporteBase(held.base);
        irpf->ImporteIrpf(held.amount);
        irpf->ImporteFactura(held.total);
        irpf->Insertar();
    }

    for (const DraftDue& due : invoice.due) {
        if (invoice.book == enmLibros::kvRepercutido) {
            auto collection = std::make_shared<clsPrevCobros>();
            collection->cEmpresa(context);
            collection->Cuenta(invoice.account);
            collection->DocumentoSTR(invoice.document);
            collection->Asiento(posted.number);
            collection->Fecha_Doc(draft.date);
            collection->Fecha_Vto(due.date);
            collection->FormaCobro(1);
            collection->Importe(due.amount);
            collection->CuentaOriginal(invoice.account);
            collection->Insertar();
            posted.forecasts.push_back(collection->Apunte());
        } else {
            auto payment = std::make_shared<clsPrevPagos>();
            payment->cEmpresa(context);
            payment->ApunteMov(party);
            payment->Cod_EjercicioMov(context->Cod_Ejercicio());
            payment->Asiento(posted.number);
            payment->Cuenta(invoice.account);
            payment->DocumentoSTR(invoice.document);
            payment->Fecha_Doc(draft.date);
            payment->Fecha_Vto(due.date);
            payment->FormaPago(1);
            payment->Importe(due.amount);
            payment->CuentaOriginal(invoice.account);
            payment->Dpto(partyLine.department);
            payment->Insertar();
            posted.forecasts.push_back(payment->Apunte());
        }
    }
}

}  // namespace

std::vector<PostedEntry> postEntries(const std::vector<DraftEntry>& entries,
                                     const db::ConnectionRef& connection,
                                     const cEmpresaRef& context, std::int16_t user) {
    std::vector<PostedEntry> posted;
    for (const DraftEntry& draft : entries) {
        PostedEntry result;
        auto header = std::make_shared<clsAsiento>();
        header->Conexion(connection);
        header->cEmpresa(context);
        header->Fecha(draft.date);
        header->Cierre(draft.closing);
        header->Usuario(user);
        header->CodigoExterno(draft.externalReference);
        header->Insertar();
        result.number = header->Codigo();
        if (!draft.remarks.empty()) {
            header->Observaciones(draft.remarks);
            header->Modificar_Observaciones();
        }
        auto line = std::make_shared<clsMov>();
        line->cEmpresa(context);
        for (const DraftLine& item : draft.lines) {
            line->Asiento(result.number);
            line->Fecha_Asiento(draft.date);
            line->Fecha(draft.date);
            line->Cuenta(item.account);
            line->Debe(item.debit);
            line->Haber(item.credit);
            line->Concepto(item.description);
            line->DocumentoSTR(item.document);
            line->Dpto(item.department);
            line->Insertar();
            result.lines.push_back(line->Apunte());
        }
        if (draft.invoice) postInvoice(draft, result, connection, context);
        posted.push_back(std::move(result));
    }
    return posted;
}

}  // namespace kvlnmov::cli
