// clsUsuario behaviour that the scenario files cannot express: the audit's time stamp, which
// is the moment of the call. (The rest is in the scenarios users_*.json.)

#include "kvlnmov/users/cls_usuario.h"

#include <gtest/gtest.h>

#include <regex>

#include "support/company_fixture.h"

namespace kvlnmov::testing {
namespace {

TEST_F(CompanyTest, UsuarioAuditRowCarriesTheRegionalDateAndTimeBetweenBlanks) {
    auto user = bound<clsUsuario>();
    user->Codigo(5);
    takeSent();
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

}  // namespace
}  // namespace kvlnmov::testing
