// Template lines against identity answers the embedded database cannot be made to give.

#include <gtest/gtest.h>

#include "forecasts/scripted_provider.h"
#include "kvlnmov/masters/cls_mov_aut.h"

namespace kvlnmov::testing {
namespace {

// A template line takes the number only from a row that comes back: an identity of 0 fails
// the insert, while a provider that answers no row at all leaves the number the line already
// held (and the insert succeeds when that number was not 0).
TEST_F(ScriptedProviderTest, TemplateLineKeepsItsNumberWhenNoIdentityRowComesBack) {
    struct Case {
        std::vector<std::int32_t> answer;
        std::int32_t preset;
        std::int32_t number;  ///< the number afterwards; 0 when the insert fails
    };
    for (const Case& c : {Case{{0}, 5, 0}, Case{{}, 0, 0}, Case{{}, 5, 5}, Case{{9}, 5, 9}}) {
        provider_->queryRows = c.answer;
        auto line = bound<clsMovAut>();
        line->Apunte(c.preset);
        if (c.number == 0) {
            const Error error = raisedBy([&] { line->Insertar(); });
            EXPECT_EQ(error.number(), 1000);
            EXPECT_EQ(error.source(), "clsMovAut::Insertar");
            EXPECT_EQ(error.description(), "Error. No se ha insertado el apunte automático.");
        } else {
            EXPECT_TRUE(line->Insertar());
            EXPECT_EQ(line->Apunte(), c.number);
        }
    }
}

// Without a recordset to open, loading the lines fails with the runtime's object error.
TEST_F(ScriptedProviderTest, TemplateLinesNeedARecordset) {
    auto line = bound<clsMovAut>();
    const Error error = raisedBy([&] { line->Cargar(nullptr); });
    EXPECT_EQ(error.number(), errc::kObjectRequired);
    EXPECT_EQ(error.source(), "clsMovAut::Cargar");
    EXPECT_TRUE(provider_->received.empty());
}

}  // namespace
}  // namespace kvlnmov::testing
