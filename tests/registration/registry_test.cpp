// Late binding: creating objects by name and reaching their members with Variant values, and
// the library-wide connection the objects share.

#include "kvlnmov/registration/registry.h"

#include <gtest/gtest.h>

#include "kvlnmov/db/open.h"
#include "kvlnmov/db/recordset.h"
#include "kvlnmov/core/library.h"
#include "support/test_connection.h"

namespace kvlnmov::registration {
namespace {

class RegistryTest : public ::testing::Test {
  protected:
    void SetUp() override { resetLibrary(); }
    void TearDown() override { resetLibrary(); }

    static db::ConnectionRef companyDatabase() {
        auto connection = kvlnmov::testing::openFreshDatabase();
        connection->createCompanySchema();
        return connection;
    }
    static std::int32_t concepts(const db::ConnectionRef& connection) {
        db::Recordset rows;
        rows.Open("SELECT COUNT(*) FROM Conceptos", connection);
        return rows.Fields(0).toLong();
    }
};

void expectError(std::int32_t number, const std::function<void()>& call) {
    try {
        call();
        ADD_FAILURE() << "expected error " << number;
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), number) << error.description();
    }
}

TEST_F(RegistryTest, ClassesAreCreatedByProgIdInAnyCase) {
    EXPECT_EQ(CreateObject("KVLNMOV.clsMov")->className(), "clsMov");
    EXPECT_EQ(CreateObject("kvlnmov.CLSASIENTO")->className(), "clsAsiento");
    for (const char* name : {"clsConcepto", "clsApertura", "clsAsientoAut", "clsMovAut", "clsMov",
                             "clsAsiento", "clsLibroIgic", "clsLibroIrpf", "clsPrevPagos",
                             "clsPrevCobros", "clsPVivasAp", "frmclsAsientoVisor"}) {
        EXPECT_NE(findClass(std::string("KVLNMOV.") + name), nullptr) << name;
    }
    try {
        CreateObject("KVLNMOV.clsNoExiste");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kCantCreateObject);
        EXPECT_EQ(error.description(), "ActiveX component can't create object");
    }
}

TEST_F(RegistryTest, ValuesAreConvertedByTheMembersDeclaredType) {
    ObjectRef master = CreateObject("KVLNMOV.clsConcepto");
    putProperty(*master, "Impuestos_Tipo", Variant("255"));
    EXPECT_EQ(getProperty(*master, "Impuestos_Tipo"), Variant(std::uint8_t{255}));
    putProperty(*master, "codigo", Variant(std::int32_t{12}));
    EXPECT_EQ(getProperty(*master, "Codigo"), Variant("12"));
    putProperty(*master, "Debe", Variant(std::int16_t{-1}));
    EXPECT_EQ(getProperty(*master, "Debe"), Variant(true));
    expectError(errc::kOverflow, [&] { putProperty(*master, "Impuestos_Tipo", Variant("300")); });
    expectError(errc::kTypeMismatch, [&] { putProperty(*master, "Debe", Variant("quizá")); });
    expectError(errc::kInvalidUseOfNull, [&] { putProperty(*master, "Nombre", Variant::null()); });

    ObjectRef mov = CreateObject("KVLNMOV.clsMov");
    putProperty(*mov, "Debe", Variant("1234,5"));  // a text read in the regional settings
    EXPECT_EQ(getProperty(*mov, "Debe"), Variant(*Currency::parse("1234.5")));
    putProperty(*mov, "Fecha", Variant(Date::ymd(2026, 3, 15).withTime(17, 30, 0)));
    EXPECT_EQ(getProperty(*mov, "Fecha"), Variant(Date::ymd(2026, 3, 15)));
}

TEST_F(RegistryTest, MembersAreCheckedAsALateBoundCallerExpects) {
    ObjectRef book = CreateObject("KVLNMOV.clsLibroIgic");
    expectError(errc::kMemberNotFound, [&] { getProperty(*book, "NoExiste"); });
    expectError(errc::kMemberNotFound, [&] { invoke(*book, "NoExiste", {}); });
    expectError(451, [&] { getProperty(*book, "Conexion"); });
    expectError(451, [&] { getProperty(*book, "Cuota", {Variant(std::int16_t{0})}); });
    expectError(450, [&] { invoke(*book, "Insertar", {Variant(1)}); });
    expectError(errc::kArgumentNotOptional,
                [&] { invoke(*book, "Cambiar_Asiento", {Variant(1)}); });

    putProperty(*book, "Cantidad", Variant(std::int16_t{2}));
    putProperty(*book, "Base", Variant("10,5"), {Variant(std::int16_t{1})});
    EXPECT_EQ(getProperty(*book, "Base", {Variant(std::int16_t{1})}),
              Variant(*Currency::parse("10.5")));
    EXPECT_EQ(getProperty(*book, "Base", {Variant(std::int16_t{0})}), Variant(Currency()));
    expectError(450, [&] { getProperty(*book, "Base"); });

    ObjectRef forecast = CreateObject("KVLNMOV.clsPrevPagos");
    ObjectRef master = CreateObject("KVLNMOV.clsConcepto");
    expectError(errc::kTypeMismatch, [&] { invoke(*forecast, "Cargar", {Variant(master)}); });
}

TEST_F(RegistryTest, TheFirstConnectionGivenToAnyObjectIsTheOneEveryObjectUses) {
    auto first = companyDatabase();
    auto second = companyDatabase();
    ObjectRef a = CreateObject("KVLNMOV.clsConcepto");
    ObjectRef b = CreateObject("KVLNMOV.clsConcepto");
    putProperty(*a, "Conexion", Variant(ObjectRef(first)));
    putProperty(*b, "Conexion", Variant(ObjectRef(second)));  // ignored
    putProperty(*b, "Codigo", Variant("B"));
    invoke(*b, "Insertar", {});
    EXPECT_EQ(concepts(first), 1);
    EXPECT_EQ(concepts(second), 0);

    // An entry header always takes its connection over, for every object of the library.
    ObjectRef entry = CreateObject("KVLNMOV.clsAsiento");
    putProperty(*entry, "Conexion", Variant(ObjectRef(second)));
    putProperty(*a, "Codigo", Variant("A"));
    invoke(*a, "Insertar", {});
    EXPECT_EQ(concepts(first), 1);
    EXPECT_EQ(concepts(second), 1);
}

TEST_F(RegistryTest, AnObjectWithoutConnectionFailsWithTheObjectError) {
    ObjectRef master = CreateObject("KVLNMOV.clsConcepto");
    try {
        invoke(*master, "Eliminar", {});
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kObjectRequired);
        EXPECT_EQ(error.source(), "Conceptos::Eliminar");
    }
}

}  // namespace
}  // namespace kvlnmov::registration
