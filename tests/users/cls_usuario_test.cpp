// clsUsuario behaviour that the scenario files cannot express: the audit's time stamp, the
// group text written back, and the source every operation raises failures with.

#include "kvlnmov/users/cls_usuario.h"

#include <gtest/gtest.h>

#include <functional>
#include <regex>

#include "users/company_fixture.h"

namespace kvlnmov::testing {
namespace {

class UsuarioTest : public CompanyTest {
  protected:
    void SetUp() override {
        CompanyTest::SetUp();
        db->Execute(
            "INSERT INTO SGD_Usuarios (Codigo, Nombre, Alias, Password, ForzarPass) VALUES (5, "
            "'Luis', 'luis', 'pw', 0)");
        db->Execute("INSERT INTO SGD_Usuarios_Grupos (CodUsuario, CodGrupo) VALUES (5, 4)");
        user = bound<clsUsuario>();
        user->Codigo(5);
        takeSent();
    }

    std::shared_ptr<clsUsuario> user;
};

TEST_F(UsuarioTest, AuditRowCarriesTheRegionalDateAndTimeBetweenBlanks) {
    const Date now = Date::now();
    const Date before = now.dateOnly().withTime(now.hour(), now.minute(), now.second());
    ASSERT_TRUE(user->InsertarOperacion(7));
    const Date after = Date::now();
    const std::vector<std::string> sent = takeSent();
    ASSERT_EQ(sent.size(), 1u);

    static const std::regex shape(
        R"(INSERT INTO SGD_Usuarios_Auditoria \(Cod_Usuario, FechaOperacion, Operacion\) )"
        R"(VALUES \(5, ' (\d\d/\d\d/\d{4}(?: \d\d:\d\d:\d\d)?) ', 7 \))");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(sent[0], match, shape)) << sent[0];

    // The statement writes the moment of the call to the second; the row holds that moment.
    const auto written = Date::parseRegional(match[1].str(), regional());
    ASSERT_TRUE(written.has_value());
    EXPECT_EQ(written->millisecond(), 0);
    EXPECT_LE(before, *written);
    EXPECT_LE(*written, after);
    const Rows rows =
        query("SELECT Cod_Usuario, FechaOperacion, Operacion FROM SGD_Usuarios_Auditoria");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0].toInteger(), 5);
    EXPECT_EQ(rows[0][1].toDate(), *written);
    EXPECT_EQ(rows[0][2].toByte(), 7);
}

TEST_F(UsuarioTest, ModificarWritesOnlyTheNonEmptyItemsOfTheGroupText) {
    ASSERT_TRUE(user->Cargar());
    takeSent();
    user->Grupos(",3,,12,");
    ASSERT_TRUE(user->Modificar());
    const std::vector<std::string> sent = takeSent();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_EQ(sent[1], "DELETE FROM SGD_Usuarios_Grupos WHERE CodUsuario=5");
    EXPECT_EQ(sent[2], "INSERT INTO SGD_Usuarios_Grupos (CodUsuario,CodGrupo) VALUES (5,3)");
    EXPECT_EQ(sent[3], "INSERT INTO SGD_Usuarios_Grupos (CodUsuario,CodGrupo) VALUES (5,12)");

    ASSERT_TRUE(user->Cargar());
    EXPECT_EQ(user->Grupos(), ",3,12,");
}

TEST_F(UsuarioTest, GroupListDropsOnlyTheEnclosingCommas) {
    user->Grupos(",4,6,");
    EXPECT_TRUE(user->SoloLectura(9, "", 1));
    EXPECT_EQ(takeSent().at(0),
              "SELECT COUNT(*) as NumRegs FROM SGD_XTR_Menus_Grupos a WHERE a.Modulo=1 AND "
              "a.CodMenu=9 AND a.CodGrupo IN (4,6) AND TipoAcceso=2");
    // An administrator anywhere in the list is never read-only.
    user->Grupos(",4,1,");
    EXPECT_FALSE(user->SoloLectura(9, "", 1));
    EXPECT_TRUE(takeSent().empty());
}

// Every operation raises what fails inside it again with its own source, keeping the
// provider's number and description.
TEST_F(UsuarioTest, FailuresReachTheCallerWithTheOperationsSource) {
    user->Grupos(",4,");
    const struct {
        const char* source;
        std::function<void()> call;
    } cases[] = {
        {"clsUsuario::Autentificacion", [&] { user->Autentificacion("luis", "pw"); }},
        {"clsUsuario::Cargar", [&] { user->Cargar(); }},
        {"clsUsuario::Cargar_Primero", [&] { user->Cargar_Primero(); }},
        {"clsUsuario::Cargar_Anterior", [&] { user->Cargar_Anterior(); }},
        {"clsUsuario::Cargar_Siguiente", [&] { user->Cargar_Siguiente(); }},
        {"clsUsuario::Cargar_Ultimo", [&] { user->Cargar_Ultimo(); }},
        {"clsUsuario::Modificar", [&] { user->Modificar(); }},
        {"clsUsuario::Eliminar", [&] { user->Eliminar(); }},
        {"clsUsuario::SoloLectura", [&] { user->SoloLectura(3, "", 1); }},
        {"clsUsuario::Cuentas_Permitidas", [&] { user->Cuentas_Permitidas("4", "4"); }},
        {"clsUsuario::Permiso_Empresa", [&] { user->Permiso_Empresa(1); }},
        {"clsUsuario::InsertarOperacion", [&] { user->InsertarOperacion(1); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source);
        db->injectFault({"", 1, errc::kTimeout, "Query timeout expired"});
        const Error error = errorOf(c.call);
        EXPECT_EQ(error.number(), errc::kTimeout);
        EXPECT_EQ(error.source(), c.source);
        EXPECT_EQ(error.description(), "Query timeout expired");
        db->clearFaults();
    }
    EXPECT_TRUE(ui->shown.empty());
    // Nothing was deleted or changed by the failed calls.
    EXPECT_EQ(query("SELECT COUNT(*) FROM SGD_Usuarios_Grupos")[0][0].toLong(), 1);
}

TEST_F(UsuarioTest, AuthenticationChecksTheCompanyOfTheBoundContext) {
    db->Execute("INSERT INTO Empresas (Codigo, Nombre, OficinaCentral) VALUES (2, 'Central', 1)");
    context->company = 2;
    EXPECT_FALSE(user->Autentificacion("luis", "pw"));
    ASSERT_EQ(ui->shown.size(), 1u);
    EXPECT_EQ(ui->shown[0].text,
              "Acceso en Oficina Central no permitido. Consulte al administrador del sistema.");
    EXPECT_EQ(takeSent().back(), "SELECT OficinaCentral FROM Empresas WHERE Codigo =2");

    context->company = 1;
    ui->shown.clear();
    EXPECT_TRUE(user->Autentificacion("luis", "pw"));
    EXPECT_TRUE(ui->shown.empty());
}

}  // namespace
}  // namespace kvlnmov::testing
