// No text given to the library can change what a statement does. Every public class is
// driven through late binding with one text property or text argument at a time holding a
// text that, were it read as SQL, would end its literal, concatenate a marker and open a new
// literal: "Q' + 'MARK". A statement carrying it must fail with the server's syntax error
// before it runs, so the marker joined as "QMARK" can never reach any table. (Single attacks
// on one statement are in operation_test.cpp and in the scenario files.)

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/company_fixture.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/frame/regional.h"
#include "kvlnmov/masters/cls_concepto.h"
#include "kvlnmov/registration/registry.h"
#include "kvlnmov/schema/schema.h"
#include "support/rows.h"
#include "support/test_connection.h"

namespace kvlnmov::testing {
namespace {

using registration::ValueKind;

const std::string kHostile = "Q' + 'MARK";
const std::string kJoined = "QMARK";

class Recorder : public db::StatementObserver {
  public:
    void statementSent(std::string_view text) override { texts.emplace_back(text); }
    std::vector<std::string> texts;
};

/// Every text value of every table, to look for the marker.
std::vector<std::string> tablesHolding(const db::ConnectionRef& connection,
                                       const std::string& marker) {
    std::vector<std::string> found;
    for (const schema::Table& table : schema::companyTables()) {
        const Rows rows = queryRows(connection, "SELECT * FROM " + table.name);
        for (const auto& row : rows) {
            for (const Variant& value : row) {
                if (value.type() == VariantType::String &&
                    value.toText().find(marker) != std::string::npos) {
                    found.push_back(table.name + ": " + value.toText());
                }
            }
        }
    }
    return found;
}

class HostileTextTest : public LibraryTest {
  protected:
    /// A company with an open exercise, an entry of two lines, a concept, a user and an
    /// opening balance: enough rows for every operation to reach its statements.
    void seed() {
        resetLibrary();
        setUserInterface(ui);
        database_ = std::make_unique<TestDatabase>();
        connection_ = database_->connect();
        context_ = exerciseContext();
        context_->values["UsuarioActual"] = Variant("1");
        createCompany(*connection_, *context_);
        connection_->Execute(
            "INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, AccesoCentral, ForzarPass) "
            "VALUES (1, 'Administrador', 'admin', 'secreto', 1, 0)");
        connection_->Execute(
            "INSERT INTO SGD_Usuarios_Grupos (CodUsuario, CodGrupo) VALUES (1, 1)");
        postEntry(
            connection_, context_, Date::ymd(2026, 3, 15),
            {{"43000001", Currency::fromUnits(100)}, {"70000001", Currency::fromUnits(-100)}});
        auto sales = std::make_shared<clsConcepto>();
        sales->cEmpresa(context_);
        sales->Codigo("VTA");
        sales->Nombre("Ventas");
        sales->Insertar();
    }

    /// A text for property or argument `name` that lets the operation reach its statements.
    static std::string benignText(const std::string& name) {
        if (name.find("Cuenta") != std::string::npos || name.find("Contrap") != std::string::npos ||
            name.find("Banco") != std::string::npos)
            return "43000001";
        if (name == "Codigo" || name == "Cto_Aut") return "VTA";
        if (name == "Grupos") return ",1,";
        if (name == "strUsuario" || name == "Alias") return "admin";
        if (name == "strPassword" || name == "Password") return "secreto";
        return "texto";
    }

    /// A value of `kind` that names the seeded rows (entry 1, line 1, user 1).
    static Variant benignValue(ValueKind kind, const std::string& name) {
        switch (kind) {
            case ValueKind::Boolean:
                return Variant(false);
            case ValueKind::Byte:
                return Variant(static_cast<std::uint8_t>(1));
            case ValueKind::Integer:
                return Variant(static_cast<std::int16_t>(name == "Cod_Ejercicio" ? 2026 : 1));
            case ValueKind::Long:
                return Variant(static_cast<std::int32_t>(1));
            case ValueKind::Currency:
                return Variant(Currency::fromUnits(100));
            case ValueKind::Double:
                return Variant(100.0);
            case ValueKind::Date:
                return Variant(Date::ymd(2026, 3, 15));
            case ValueKind::String:
                return Variant(benignText(name));
            default:
                return Variant();
        }
    }

    /// One operation with `hostileSlot` (a text property, or a text parameter of the
    /// operation) holding the hostile text; checks what it did.
    void attack(const std::string& progId, const std::string& method,
                const std::string& hostileSlot) {
        SCOPED_TRACE(progId + "." + method + " with " + hostileSlot);
        const registration::ClassInfo& info = *registration::findClass(progId);
        ObjectRef object = registration::CreateObject(progId);
        for (const auto& [name, property] : info.properties) {
            if (!property.put || property.indexCount != 0) continue;
            if (property.kind == ValueKind::Object) {
                if (name.find("Conexion") != std::string::npos)
                    registration::putProperty(*object, name, Variant(connection_));
                else if (name.find("Empresa") != std::string::npos)
                    registration::putProperty(*object, name, Variant(context_));
                continue;
            }
            if (property.kind == ValueKind::Variant) continue;
            try {
                registration::putProperty(
                    *object, name,
                    name == hostileSlot ? Variant(kHostile) : benignValue(property.kind, name));
            } catch (const Error&) {
                // A property may refuse the text outright (then it never reaches a statement),
                // and obsolete properties refuse any value.
                if (name == hostileSlot) return;
            }
        }
        const registration::MethodInfo& operation = info.methods.at(method);
        std::vector<Variant> arguments;
        for (const registration::Parameter& parameter : operation.parameters) {
            if (parameter.optional) break;
            arguments.push_back(parameter.name == hostileSlot
                                    ? Variant(kHostile)
                                    : benignValue(parameter.kind, parameter.name));
        }

        auto recorder = std::make_shared<Recorder>();
        connection_->addObserver(recorder);
        std::optional<Error> raised;
        Variant result;
        try {
            result = registration::invoke(*object, method, arguments);
        } catch (const Error& error) {
            raised = error;
        }
        connection_->removeObserver(recorder.get());

        const bool carried =
            std::any_of(recorder->texts.begin(), recorder->texts.end(),
                        [](const std::string& text) { return text.find(kHostile) != text.npos; });
        if (carried) {
            ++carriedCount_;
            ASSERT_TRUE(raised.has_value()) << "a statement carried the text and ran";
            EXPECT_EQ(raised->number(), errc::kSyntax) << raised->description();
        }
        if (method == "Autentificacion" && hostileSlot.starts_with("str")) {
            EXPECT_FALSE(!raised && result.toBoolean()) << "authenticated";
        }
        EXPECT_EQ(tablesHolding(connection_, kJoined), std::vector<std::string>{});
    }

    std::unique_ptr<TestDatabase> database_;
    db::ConnectionRef connection_;
    std::shared_ptr<SettableContext> context_;
    int carriedCount_ = 0;
};

TEST_F(HostileTextTest, NoTextOfAnyClassBecomesSql) {
    int attacks = 0;
    for (const std::string& progId : registration::registeredProgIds()) {
        const registration::ClassInfo& info = *registration::findClass(progId);
        std::vector<std::string> textProperties;
        for (const auto& [name, property] : info.properties) {
            if (property.kind == ValueKind::String && property.put && property.indexCount == 0)
                textProperties.push_back(name);
        }
        for (const auto& [method, operation] : info.methods) {
            std::vector<std::string> slots = textProperties;
            for (const registration::Parameter& parameter : operation.parameters) {
                if (parameter.kind == ValueKind::String && !parameter.optional)
                    slots.push_back(parameter.name);
            }
            seed();
            for (const std::string& slot : slots) {
                attack(progId, method, slot);
                ++attacks;
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
    // The sweep must have reached statements carrying the text, many times over.
    EXPECT_GT(attacks, 300);
    EXPECT_GT(carriedCount_, 100);
}

}  // namespace
}  // namespace kvlnmov::testing
