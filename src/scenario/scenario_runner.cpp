#include "kvlnmov/scenario/scenario_runner.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/company_seed.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/core/user_interface.h"
#include "kvlnmov/registration/registry.h"
#include "scenario/scenario_values.h"

namespace kvlnmov::scenario {

namespace {

using registration::ValueKind;

/// A failed check inside a running scenario.
struct CheckFailed {
    std::string why;
};

[[noreturn]] void fail(std::string why) { throw CheckFailed{std::move(why)}; }

// ------------------------------------------------------------------------------------------
// Validation of the file's shape (before anything runs).

const std::set<std::string> kChecks = {"error",     "sql",      "sql_includes",
                                       "sql_count", "msgboxes", "yields"};

struct Shape {
    std::set<std::string> required;
    std::set<std::string> optional;
    bool checks = false;
};

const std::map<std::string, Shape>& stepShapes() {
    static const std::map<std::string, Shape> shapes = {
        {"new", {{"new", "class"}, {"bind"}, false}},
        {"set", {{"set", "props"}, {}, true}},
        {"get", {{"get", "prop"}, {"args", "equals"}, true}},
        {"call", {{"call", "method"}, {"args", "returns"}, true}},
        {"release", {{"release"}, {}, false}},
        {"sql", {{"sql"}, {"error"}, false}},
        {"query", {{"query"}, {"rows", "count", "error"}, false}},
        {"fail", {{"fail"}, {}, false}},
        {"rows_of", {{"rows_of", "rows"}, {}, false}},
    };
    return shapes;
}

void requireKeys(const Json& object, const std::set<std::string>& required,
                 const std::set<std::string>& allowed, const std::string& where) {
    if (!object.is_object()) throw FileError(where + ": expected an object");
    for (const auto& [key, value] : object.items()) {
        if (!required.count(key) && !allowed.count(key)) {
            throw FileError(where + ": unknown key \"" + key + "\"");
        }
    }
    for (const auto& key : required) {
        if (!object.contains(key)) throw FileError(where + ": missing key \"" + key + "\"");
    }
}

void validateError(const Json& error, const std::string& where) {
    requireKeys(error, {}, {"number", "source", "description"}, where + " error");
    if (error.contains("number") && !error["number"].is_number_integer())
        throw FileError(where + ": error number must be an integer");
    for (const char* key : {"source", "description"}) {
        if (error.contains(key) && !error[key].is_string())
            throw FileError(where + ": error " + key + " must be a text");
    }
}

void validateStep(const Json& step, const std::string& where) {
    if (!step.is_object() || step.empty()) throw FileError(where + ": a step must be an object");
    std::string kind = step.begin().key();
    auto shape = stepShapes().find(kind);
    if (shape == stepShapes().end()) throw FileError(where + ": unknown step \"" + kind + "\"");
    std::set<std::string> allowed = shape->second.optional;
    if (shape->second.checks) allowed.insert(kChecks.begin(), kChecks.end());
    requireKeys(step, shape->second.required, allowed, where);
    if (step.contains("error")) validateError(step["error"], where);
    for (const char* key : {"sql", "sql_includes"}) {
        if (!step.contains(key) || kind == "sql") continue;
        if (!step[key].is_array()) throw FileError(where + ": \"" + key + "\" must be a list");
        for (const auto& text : step[key]) {
            if (!text.is_string()) throw FileError(where + ": \"" + key + "\" holds texts");
        }
    }
    if (kind == "sql" && !step["sql"].is_string()) throw FileError(where + ": sql must be a text");
    if (kind == "query") {
        if (!step["query"].is_string()) throw FileError(where + ": query must be a text");
        int expectations = step.contains("rows") + step.contains("count") + step.contains("error");
        if (expectations != 1)
            throw FileError(where + ": a query needs exactly one of rows, count or error");
    }
    if (step.contains("rows")) {
        if (!step["rows"].is_array()) throw FileError(where + ": rows must be a list of lists");
        for (const auto& row : step["rows"]) {
            if (!row.is_array()) throw FileError(where + ": rows must be a list of lists");
        }
    }
    for (const char* key : {"sql_count", "yields", "count"}) {
        if (step.contains(key) && !step[key].is_number_integer())
            throw FileError(where + ": \"" + std::string(key) + "\" must be an integer");
    }
    if (step.contains("msgboxes")) {
        if (!step["msgboxes"].is_array()) throw FileError(where + ": msgboxes must be a list");
        for (const auto& box : step["msgboxes"]) {
            requireKeys(box, {}, {"text", "title", "icon", "buttons"}, where + " msgbox");
        }
    }
    if (kind == "set" && !step["props"].is_object())
        throw FileError(where + ": props must be an object");
    if (kind == "get" && step.contains("equals") == step.contains("error"))
        throw FileError(where + ": a get needs exactly one of equals or error");
    if (step.contains("args") && !step["args"].is_array())
        throw FileError(where + ": args must be a list");
    if (kind == "fail") {
        requireKeys(step["fail"], {"when", "times", "number"}, {"description"}, where + " fail");
    }
    for (const char* key :
         {"new", "class", "set", "get", "call", "method", "release", "prop", "rows_of"}) {
        if (step.contains(key) && !step[key].is_string())
            throw FileError(where + ": \"" + std::string(key) + "\" must be a text");
    }
    if (step.contains("bind") && !step["bind"].is_boolean())
        throw FileError(where + ": bind must be true or false");
}

void validateFile(const Json& file, const std::string& where) {
    requireKeys(file, {"name", "context", "steps"}, {"regional", "exercise_open"}, where);
    if (!file["name"].is_string()) throw FileError(where + ": name must be a text");
    if (file.contains("regional")) {
        requireKeys(file["regional"], {}, {"date", "decimal"}, where + " regional");
    }
    requireKeys(file["context"], {"Cod_Empresa", "Cod_Ejercicio", "FechaInicio", "FechaFin"},
                {"LongitudNivel", "TipoNumeracion", "TipoImpuesto", "UsuarioActual", "Valor",
                 "EjercicioFecha", "PeriodoMes"},
                where + " context");
    if (file.contains("exercise_open") && !file["exercise_open"].is_boolean())
        throw FileError(where + ": exercise_open must be true or false");
    if (!file["steps"].is_array()) throw FileError(where + ": steps must be a list");
    for (std::size_t i = 0; i < file["steps"].size(); ++i) {
        validateStep(file["steps"][i], where + ", step " + std::to_string(i));
    }
}

// ------------------------------------------------------------------------------------------
// Running.

/// Collects the texts sent to the scenario's connection while a step runs.
class Recorder : public db::StatementObserver {
  public:
    void statementSent(std::string_view text) override {
        if (active) texts.emplace_back(text);
    }
    bool active = false;
    std::vector<std::string> texts;
};

Date requireDate(const Json& value, const std::string& what) {
    auto date = value.is_string() ? Date::parseIso(value.get<std::string>()) : std::nullopt;
    if (!date) throw FileError(what + ": " + value.dump() + " is not an ISO date");
    return *date;
}

std::shared_ptr<SettableContext> makeContext(const Json& json, const std::string& where) {
    auto context = std::make_shared<SettableContext>();
    context->company = json["Cod_Empresa"].get<std::int16_t>();
    context->exercise = json["Cod_Ejercicio"].get<std::int16_t>();
    context->firstDay = requireDate(json["FechaInicio"], where + " FechaInicio");
    context->lastDay = requireDate(json["FechaFin"], where + " FechaFin");
    if (json.contains("LongitudNivel")) {
        context->levelLengths = json["LongitudNivel"].get<std::vector<std::int16_t>>();
    }
    if (json.contains("TipoNumeracion"))
        context->numberingScheme = json["TipoNumeracion"].get<std::int16_t>();
    if (json.contains("TipoImpuesto")) context->taxKind = json["TipoImpuesto"].get<std::int16_t>();
    if (json.contains("PeriodoMes")) {
        context->periodOfMonth = json["PeriodoMes"].get<std::vector<std::int16_t>>();
    }
    if (json.contains("Valor")) {
        for (const auto& [name, value] : json["Valor"].items()) {
            context->values[name] = toVariant(value, ValueKind::Variant);
        }
    }
    if (json.contains("UsuarioActual")) {
        context->values["UsuarioActual"] = toVariant(json["UsuarioActual"], ValueKind::Variant);
    }
    if (json.contains("EjercicioFecha")) {
        for (const auto& [code, range] : json["EjercicioFecha"].items()) {
            if (!range.is_array() || range.size() != 2)
                throw FileError(where + " EjercicioFecha: each exercise needs [first, last]");
            context->exercises.push_back({static_cast<std::int16_t>(std::stoi(code)),
                                          requireDate(range[0], where + " EjercicioFecha"),
                                          requireDate(range[1], where + " EjercicioFecha")});
        }
    }
    return context;
}

std::string joinLevels(const std::vector<std::int16_t>& levels) {
    std::string out;
    for (auto length : levels) out += (out.empty() ? "" : ",") + std::to_string(length);
    return out;
}

std::string iconName(MsgBoxIcon icon) {
    switch (icon) {
        case MsgBoxIcon::Critical:
            return "critical";
        case MsgBoxIcon::Exclamation:
            return "exclamation";
        case MsgBoxIcon::Information:
            return "information";
        case MsgBoxIcon::Question:
            return "question";
        case MsgBoxIcon::None:
            break;
    }
    return "none";
}

std::string buttonsName(MsgBoxButtons buttons) {
    switch (buttons) {
        case MsgBoxButtons::Ok:
            return "ok";
        case MsgBoxButtons::OkCancel:
            return "okcancel";
        case MsgBoxButtons::YesNo:
            return "yesno";
        case MsgBoxButtons::YesNoCancel:
            return "yesnocancel";
        case MsgBoxButtons::AbortRetryIgnore:
            return "abortretryignore";
        case MsgBoxButtons::RetryCancel:
            return "retrycancel";
    }
    return "?";
}

std::string quoted(const std::string& text) { return Json(text).dump(); }

class Runner {
  public:
    Runner(const Json& file, std::string where, DatabaseFactory freshDatabase)
        : file_(file), where_(std::move(where)), freshDatabase_(std::move(freshDatabase)) {}

    void run() {
        setUp();
        const Json& steps = file_["steps"];
        for (std::size_t i = 0; i < steps.size(); ++i) {
            try {
                runStep(steps[i]);
            } catch (CheckFailed& failure) {
                failure.why =
                    "step " + std::to_string(i) + " (" + label(steps[i]) + "): " + failure.why;
                throw;
            }
        }
    }

    ~Runner() {
        objects_.clear();
        recordsets_.clear();
        resetLibrary();
        setRegional(Regional{});
    }

  private:
    void setUp() {
        resetLibrary();
        Regional settings;
        if (file_.contains("regional")) {
            const Json& regional = file_["regional"];
            if (regional.contains("date")) settings.shortDate = regional["date"].get<std::string>();
            if (regional.contains("decimal")) {
                std::string decimal = regional["decimal"].get<std::string>();
                if (decimal.size() != 1)
                    throw FileError(where_ + ": decimal must be one character");
                settings.decimalSeparator = decimal[0];
                settings.thousandsSeparator = decimal[0] == ',' ? '.' : ',';
            }
        }
        setRegional(settings);
        ui_ = std::make_shared<RecordingUserInterface>();
        setUserInterface(ui_);
        context_ = makeContext(file_["context"], where_ + " context");
        connection_ = freshDatabase_ ? freshDatabase_()
                                     : db::openConnection("Provider=SQLite;Data Source=:memory:");
        CompanySeed seed;
        seed.company = context_->company;
        seed.exercise = context_->exercise;
        seed.open = !file_.contains("exercise_open") || file_["exercise_open"].get<bool>();
        seed.firstDay = context_->firstDay;
        seed.lastDay = context_->lastDay;
        seed.levels = joinLevels(context_->levelLengths);
        seed.numbering = context_->numberingScheme;
        seed.tax = context_->taxKind;
        seedCompany(*connection_, seed);
        recorder_ = std::make_shared<Recorder>();
        connection_->addObserver(recorder_);
    }

    static std::string label(const Json& step) {
        std::string kind = step.begin().key();
        if (kind == "call")
            return "call " + step["call"].get<std::string>() + "." +
                   step["method"].get<std::string>();
        if (kind == "get")
            return "get " + step["get"].get<std::string>() + "." + step["prop"].get<std::string>();
        if (kind == "set" || kind == "new" || kind == "release" || kind == "rows_of")
            return kind + " " + step[kind].get<std::string>();
        return kind;
    }

    ObjectRef& object(const std::string& name) {
        auto found = objects_.find(name);
        if (found == objects_.end()) fail("no object named " + quoted(name));
        return found->second;
    }

    /// A JSON argument for a parameter of kind `kind`; objects are named references.
    Variant argument(const Json& value, ValueKind kind) {
        if (value.is_object()) {
            if (value.size() == 1 && value.contains("object")) {
                return Variant(object(value["object"].get<std::string>()));
            }
            if (value.size() == 1 && value.contains("recordset")) {
                auto recordset = std::make_shared<db::Recordset>();
                recordsets_[value["recordset"].get<std::string>()] = recordset;
                return Variant(ObjectRef(recordset));
            }
            fail("an object argument is {\"object\": name} or {\"recordset\": name}");
        }
        try {
            return toVariant(value, kind);
        } catch (const std::invalid_argument& wrong) {
            fail(wrong.what());
        }
    }

    void bind(Object& target) {
        const auto& info = registration::classOf(target);
        auto put = [&](std::initializer_list<const char*> names, const Variant& value) {
            for (const char* name : names) {
                auto property = info.properties.find(name);
                if (property != info.properties.end() && property->second.put) {
                    registration::putProperty(target, name, value);
                    return;
                }
            }
        };
        put({"Conexion", "ConexionKavelon"}, Variant(ObjectRef(connection_)));
        put({"cEmpresa", "EmpresaKavelon"}, Variant(ObjectRef(context_)));
    }

    void runStep(const Json& step) {
        std::string kind = step.begin().key();
        if (kind == "new") {
            ObjectRef created =
                registration::CreateObject("KVLNMOV." + step["class"].get<std::string>());
            if (!step.contains("bind") || step["bind"].get<bool>()) bind(*created);
            objects_[step["new"].get<std::string>()] = created;
        } else if (kind == "release") {
            object(step["release"].get<std::string>());
            objects_.erase(step["release"].get<std::string>());
        } else if (kind == "sql") {
            expectOutcome(step, [&] { connection_->Execute(step["sql"].get<std::string>()); });
        } else if (kind == "query") {
            runQuery(step);
        } else if (kind == "fail") {
            const Json& fault = step["fail"];
            connection_->injectFault({fault["when"].get<std::string>(), fault["times"].get<int>(),
                                      fault["number"].get<std::int32_t>(),
                                      fault.value("description", std::string())});
        } else if (kind == "rows_of") {
            auto found = recordsets_.find(step["rows_of"].get<std::string>());
            if (found == recordsets_.end()) fail("no recordset named " + quoted(step["rows_of"]));
            compareRows(*found->second, step["rows"]);
        } else {
            runChecked(step, kind);
        }
    }

    void runQuery(const Json& step) {
        db::Recordset rows;
        bool failed =
            expectOutcome(step, [&] { rows.Open(step["query"].get<std::string>(), connection_); });
        if (failed) return;
        if (step.contains("count")) {
            int count = 0;
            for (; !rows.Eof(); rows.MoveNext()) ++count;
            if (count != step["count"].get<int>()) {
                fail("expected " + std::to_string(step["count"].get<int>()) + " rows, got " +
                     std::to_string(count));
            }
        } else {
            compareRows(rows, step["rows"]);
        }
    }

    void compareRows(db::Recordset& rows, const Json& expected) {
        if (!rows.IsOpen()) fail("the recordset is not open");
        std::size_t index = 0;
        for (; !rows.Eof(); rows.MoveNext(), ++index) {
            if (index >= expected.size()) {
                fail("more rows than the " + std::to_string(expected.size()) + " expected; row " +
                     std::to_string(index) + " is " + describeRow(rows));
            }
            const Json& row = expected[index];
            if (row.size() != static_cast<std::size_t>(rows.FieldCount())) {
                fail("row " + std::to_string(index) + " has " + std::to_string(rows.FieldCount()) +
                     " columns, expected " + std::to_string(row.size()));
            }
            for (std::size_t c = 0; c < row.size(); ++c) {
                if (auto why = compare(rows.Fields(static_cast<int>(c)), row[c])) {
                    fail("row " + std::to_string(index) + " column " +
                         rows.FieldInfo(static_cast<int>(c)).name + ": " + *why);
                }
            }
        }
        if (index != expected.size()) {
            fail("expected " + std::to_string(expected.size()) + " rows, got " +
                 std::to_string(index));
        }
    }

    static std::string describeRow(db::Recordset& rows) {
        std::string out = "[";
        for (int c = 0; c < rows.FieldCount(); ++c) {
            out += (c ? ", " : "") + describe(rows.Fields(c));
        }
        return out + "]";
    }

    /// Runs `body`; checks the step's "error" expectation. Returns true when it raised (as
    /// expected).
    template <class Body>
    bool expectOutcome(const Json& step, Body&& body) {
        try {
            body();
        } catch (const Error& error) {
            if (!step.contains("error")) {
                fail("unexpected error " + std::to_string(error.number()) + " (" + error.source() +
                     "): " + error.description());
            }
            compareError(step["error"], error);
            return true;
        }
        if (step.contains("error"))
            fail("expected the error " + step["error"].dump() + " but none was raised");
        return false;
    }

    static void compareError(const Json& expected, const Error& actual) {
        std::string got = std::to_string(actual.number()) + " " + quoted(actual.source()) + " " +
                          quoted(actual.description());
        if (expected.contains("number") &&
            expected["number"].get<std::int32_t>() != actual.number())
            fail("error number: expected " + expected["number"].dump() + ", got " + got);
        if (expected.contains("source") && expected["source"].get<std::string>() != actual.source())
            fail("error source: expected " + expected["source"].dump() + ", got " + got);
        if (expected.contains("description") &&
            expected["description"].get<std::string>() != actual.description())
            fail("error description: expected " + expected["description"].dump() + ", got " + got);
    }

    void runChecked(const Json& step, const std::string& kind) {
        recorder_->texts.clear();
        ui_->shown.clear();
        ui_->yields = 0;
        recorder_->active = true;
        Variant result;
        bool raised = false;
        try {
            raised = expectOutcome(step, [&] { result = perform(step, kind); });
        } catch (...) {
            recorder_->active = false;
            throw;
        }
        recorder_->active = false;
        if (!raised) {
            if (kind == "call" && step.contains("returns")) {
                if (auto why = compare(result, step["returns"])) fail("result: " + *why);
            }
            if (kind == "get") {
                if (auto why = compare(result, step["equals"])) fail("value: " + *why);
            }
        }
        checkStatements(step);
        checkMessageBoxes(step);
        if (step.contains("yields") && step["yields"].get<int>() != ui_->yields) {
            fail("expected " + step["yields"].dump() + " yields, got " +
                 std::to_string(ui_->yields));
        }
    }

    Variant perform(const Json& step, const std::string& kind) {
        if (kind == "set") {
            ObjectRef target = object(step["set"].get<std::string>());
            for (const auto& [key, value] : step["props"].items()) {
                auto [name, index] = splitIndex(key);
                const auto& property = propertyInfo(*target, name);
                Variant converted = value.is_object() ? argument(value, ValueKind::Object)
                                                      : argument(value, property.kind);
                registration::putProperty(*target, name, converted, index);
            }
            return {};
        }
        if (kind == "get") {
            ObjectRef target = object(step["get"].get<std::string>());
            std::vector<Variant> index;
            if (step.contains("args")) {
                for (const auto& value : step["args"])
                    index.push_back(argument(value, ValueKind::Integer));
            }
            return registration::getProperty(*target, step["prop"].get<std::string>(), index);
        }
        ObjectRef target = object(step["call"].get<std::string>());
        const auto& info = registration::classOf(*target);
        std::string method = step["method"].get<std::string>();
        auto found = info.methods.find(method);
        std::vector<Variant> arguments;
        if (step.contains("args")) {
            const Json& args = step["args"];
            for (std::size_t i = 0; i < args.size(); ++i) {
                ValueKind kind = ValueKind::Variant;
                if (found != info.methods.end() && i < found->second.parameters.size()) {
                    kind = found->second.parameters[i].kind;
                }
                arguments.push_back(argument(args[i], kind));
            }
        }
        return registration::invoke(*target, method, arguments);
    }

    const registration::PropertyInfo& propertyInfo(Object& target, const std::string& name) {
        const auto& info = registration::classOf(target);
        auto found = info.properties.find(name);
        if (found == info.properties.end()) {
            throw Error(errc::kMemberNotFound, kRuntimeSource,
                        "Object doesn't support this property or method");
        }
        return found->second;
    }

    static std::pair<std::string, std::vector<Variant>> splitIndex(const std::string& key) {
        auto open = key.find('(');
        if (open == std::string::npos || key.back() != ')') return {key, {}};
        std::string inside = key.substr(open + 1, key.size() - open - 2);
        try {
            return {key.substr(0, open), {Variant(static_cast<std::int16_t>(std::stoi(inside)))}};
        } catch (const std::exception&) {
            fail("bad index in property " + quoted(key));
        }
    }

    void checkStatements(const Json& step) {
        const auto& sent = recorder_->texts;
        if (step.contains("sql")) {
            const Json& expected = step["sql"];
            for (std::size_t i = 0; i < std::max(expected.size(), sent.size()); ++i) {
                if (i >= expected.size())
                    fail("unexpected extra statement sql[" + std::to_string(i) +
                         "]: " + quoted(sent[i]));
                if (i >= sent.size())
                    fail("statement sql[" + std::to_string(i) + "] " + expected[i].dump() +
                         " was not sent (" + std::to_string(sent.size()) + " sent)");
                if (expected[i].get<std::string>() != sent[i]) {
                    fail("sql[" + std::to_string(i) + "]: expected " + expected[i].dump() +
                         ", sent " + quoted(sent[i]));
                }
            }
        }
        if (step.contains("sql_includes")) {
            std::size_t next = 0;
            for (const auto& text : step["sql_includes"]) {
                auto found = std::find(sent.begin() + static_cast<std::ptrdiff_t>(next), sent.end(),
                                       text.get<std::string>());
                if (found == sent.end()) {
                    fail("statement " + text.dump() +
                         " was not sent (in this order); sent: " + Json(sent).dump());
                }
                next = static_cast<std::size_t>(found - sent.begin()) + 1;
            }
        }
        if (step.contains("sql_count") && step["sql_count"].get<std::size_t>() != sent.size()) {
            fail("expected " + step["sql_count"].dump() + " statements, " +
                 std::to_string(sent.size()) + " were sent: " + Json(sent).dump());
        }
    }

    void checkMessageBoxes(const Json& step) {
        if (!step.contains("msgboxes")) return;
        const Json& expected = step["msgboxes"];
        const auto& shown = ui_->shown;
        if (expected.size() != shown.size()) {
            std::string texts;
            for (const auto& box : shown) texts += (texts.empty() ? "" : ", ") + quoted(box.text);
            fail("expected " + std::to_string(expected.size()) + " message boxes, " +
                 std::to_string(shown.size()) + " shown [" + texts + "]");
        }
        for (std::size_t i = 0; i < shown.size(); ++i) {
            const Json& box = expected[i];
            auto check = [&](const char* key, const std::string& actual) {
                if (box.contains(key) && box[key].get<std::string>() != actual) {
                    fail("msgboxes[" + std::to_string(i) + "] " + key + ": expected " +
                         box[key].dump() + ", shown " + quoted(actual));
                }
            };
            check("text", shown[i].text);
            check("title", shown[i].title);
            check("icon", iconName(shown[i].icon));
            check("buttons", buttonsName(shown[i].buttons));
        }
    }

    const Json& file_;
    std::string where_;
    std::shared_ptr<RecordingUserInterface> ui_;
    std::shared_ptr<SettableContext> context_;
    DatabaseFactory freshDatabase_;
    db::ConnectionRef connection_;
    std::shared_ptr<Recorder> recorder_;
    std::map<std::string, ObjectRef> objects_;
    std::map<std::string, std::shared_ptr<db::Recordset>> recordsets_;
};

Json readFile(const std::filesystem::path& file) {
    std::ifstream input(file);
    if (!input) throw FileError(file.string() + ": cannot be read");
    try {
        return Json::parse(input);
    } catch (const Json::parse_error& error) {
        throw FileError(file.string() + ": not valid JSON: " + error.what());
    }
}

}  // namespace

Outcome runFile(const std::filesystem::path& file, const DatabaseFactory& freshDatabase) {
    Json scenario = readFile(file);
    validateFile(scenario, file.string());
    Outcome outcome;
    outcome.name = scenario["name"].get<std::string>();
    try {
        Runner runner(scenario, file.string(), freshDatabase);
        runner.run();
        outcome.passed = true;
    } catch (const CheckFailed& failure) {
        outcome.why = failure.why;
    } catch (const Error& error) {
        outcome.why = "error " + std::to_string(error.number()) + " (" + error.source() +
                      "): " + error.description();
    } catch (const FileError&) {
        throw;
    } catch (const std::exception& other) {
        outcome.why = other.what();
    }
    return outcome;
}

int runAll(const std::vector<std::filesystem::path>& paths, std::ostream& out, std::ostream& err,
           const DatabaseFactory& freshDatabase) {
    std::vector<std::filesystem::path> files;
    for (const auto& path : paths) {
        if (std::filesystem::is_directory(path)) {
            std::vector<std::filesystem::path> inside;
            for (const auto& entry : std::filesystem::directory_iterator(path)) {
                if (entry.is_regular_file() && entry.path().extension() == ".json")
                    inside.push_back(entry.path());
            }
            std::sort(inside.begin(), inside.end());
            files.insert(files.end(), inside.begin(), inside.end());
        } else {
            files.push_back(path);
        }
    }
    int passed = 0;
    int failed = 0;
    bool unreadable = false;
    for (const auto& file : files) {
        try {
            Outcome outcome = runFile(file, freshDatabase);
            if (outcome.passed) {
                ++passed;
                out << "ok  " << outcome.name << "\n";
            } else {
                ++failed;
                out << "FAIL " << outcome.name << ": " << outcome.why << "\n";
            }
        } catch (const FileError& error) {
            unreadable = true;
            err << "error: " << error.what() << "\n";
        }
    }
    out << passed << " passed, " << failed << " failed\n";
    if (unreadable) return 2;
    return failed > 0 ? 1 : 0;
}

}  // namespace kvlnmov::scenario
