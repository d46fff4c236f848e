// frmclsAsientoVisor: what it hands the application's form hook and the form's unloading when
// the object ends.

#include "kvlnmov/viewer/frmcls_asiento_visor.h"

#include <gtest/gtest.h>

#include "kvlnmov/db/open.h"
#include "kvlnmov/viewer/entry_view.h"
#include "kvlnmov/viewer/form_hook.h"
#include "viewer/viewer_fixture.h"

namespace kvlnmov::testing {
namespace {

// A form that loads the entry into a view, as an application's form does.
class FakeForm : public EntryViewerForm {
  public:
    explicit FakeForm(const EntryViewerRequest& request)
        : view(request.connection, request.context, request.company, request.exercise,
               request.entry) {
        view.load();
    }
    bool loaded() const override { return loaded_; }
    void unload() override {
        ++unloads;
        view.close();
        loaded_ = false;
    }
    /// What the user's closing the form does.
    void closeByUser() { loaded_ = false; }

    EntryView view;
    int unloads = 0;

  private:
    bool loaded_ = true;
};

class FakeHook : public EntryViewerFormHook {
  public:
    std::shared_ptr<EntryViewerForm> open(const EntryViewerRequest& request) override {
        requests.push_back(request);
        form = std::make_shared<FakeForm>(request);
        return form;
    }
    std::vector<EntryViewerRequest> requests;
    std::shared_ptr<FakeForm> form;
};

class VisorTest : public ViewerTest {
  protected:
    void SetUp() override {
        ViewerTest::SetUp();
        hook = std::make_shared<FakeHook>();
        setEntryViewerFormHook(hook);
        addEntry(12, 0);
        addLine(12, {.apunte = 1, .debe = "10"});
        visor = std::make_unique<frmclsAsientoVisor>();
        visor->ConexionKavelon(db);
        visor->EmpresaKavelon(context);
        visor->Cod_Empresa(1);
        visor->Cod_Ejercicio(2026);
        visor->Asiento(12);
    }
    void TearDown() override {
        visor.reset();
        setEntryViewerFormHook(nullptr);
        ViewerTest::TearDown();
    }

    std::shared_ptr<FakeHook> hook;
    std::unique_ptr<frmclsAsientoVisor> visor;
};

TEST_F(VisorTest, ShowHandsTheKeysAndSharedReferencesToTheHook) {
    auto owner = std::make_shared<frmclsAsientoVisor>();
    visor->Show(std::int16_t{1}, ObjectRef(owner));
    ASSERT_EQ(hook->requests.size(), 1u);
    const EntryViewerRequest& request = hook->requests[0];
    EXPECT_EQ(request.company, 1);
    EXPECT_EQ(request.exercise, 2026);
    EXPECT_EQ(request.entry, 12);
    EXPECT_EQ(request.context, context);
    EXPECT_EQ(request.connection, db);
    EXPECT_EQ(request.modal, 1);
    EXPECT_EQ(request.owner, owner);
    EXPECT_EQ(hook->form->view.rows().size(), 1u);
    EXPECT_TRUE(ui->shown.empty());

    visor->Show(std::nullopt, std::nullopt);
    ASSERT_EQ(hook->requests.size(), 2u);
    EXPECT_EQ(hook->requests[1].modal, 0);
    EXPECT_EQ(hook->requests[1].owner, nullptr);
}

TEST_F(VisorTest, TheFormReadsTheLibrarysConnection) {
    // The first connection handed to any object is the library's; a later one is ignored.
    auto other = db::openConnection("Provider=SQLite;Data Source=:memory:");
    visor->ConexionKavelon(other);
    visor->Show(std::nullopt, std::nullopt);
    ASSERT_EQ(hook->requests.size(), 1u);
    EXPECT_EQ(hook->requests[0].connection, db);
}

TEST_F(VisorTest, EndingTheObjectUnloadsItsFormWhenStillLoaded) {
    visor->Show(std::nullopt, std::nullopt);
    std::shared_ptr<FakeForm> form = hook->form;
    ASSERT_TRUE(form->loaded());
    visor.reset();
    EXPECT_EQ(form->unloads, 1);
    EXPECT_FALSE(form->loaded());
}

TEST_F(VisorTest, AFormTheUserClosedIsNotUnloadedAgain) {
    visor->Show(std::nullopt, std::nullopt);
    std::shared_ptr<FakeForm> form = hook->form;
    form->closeByUser();
    visor.reset();
    EXPECT_EQ(form->unloads, 0);
}

// A zero key and a missing form hook are in the scenario viewer_show.json.
TEST_F(VisorTest, AFailureWhileTheFormLoadsCarriesTheSourceOfShow) {
    db->injectFault({"SELECT a.Apunte", 1, errc::kTimeout, "Query timeout expired"});
    const Error error = errorOf([&] { visor->Show(std::nullopt, std::nullopt); });
    EXPECT_EQ(error.number(), errc::kTimeout);
    EXPECT_EQ(error.source(), "frmclsAsientoVisor::Show");
    EXPECT_EQ(error.description(), "Query timeout expired");
}

}  // namespace
}  // namespace kvlnmov::testing
