#include <gtest/gtest.h>

#include "module/Application.h"
#include "module/frame/FormRegistry.h"
#include "support/TestHost.h"

using namespace ormex;
using module::frame::FormRegistry;
using module::frame::ModuleForm;

namespace {

// A screen that counts its showings.
class CountingForm : public ModuleForm
{
public:
    void loadForm() override { ++loads; }
    int loads = 0;
};

class Dispatch : public ::testing::Test
{
protected:
    void SetUp() override
    {
        FormRegistry::instance().setModalRunner([this](ModuleForm& form) { shown.push_back(&form); });
        FormRegistry::instance().add(4, [] { return std::make_unique<CountingForm>(); });
        app.reset(OrmexCardManage_CreateApplication());
    }
    void TearDown() override
    {
        app.reset();
        FormRegistry::instance().addScreens();
        FormRegistry::instance().setModalRunner({});
    }

    test::TestHost host;
    std::unique_ptr<module::Application> app;
    std::vector<ModuleForm*> shown;
};

} // namespace

TEST_F(Dispatch, UnknownNumbersFailBackToTheHost)
{
    for (int id : {0, 6, -1})
        EXPECT_THROW(app->ShowForm(id, platform::Value(0)), std::invalid_argument) << id;
    EXPECT_TRUE(shown.empty());
    EXPECT_TRUE(host.messages().shown().empty());
}

TEST_F(Dispatch, OneInstancePerFunctionLoadedOnEveryShowing)
{
    app->ShowForm(4, platform::Value(2));
    app->ShowForm(4, platform::Value());
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0], shown[1]);
    auto* form = static_cast<CountingForm*>(shown[0]);
    EXPECT_EQ(form->loads, 2);
    EXPECT_TRUE(form->isModal());
    EXPECT_EQ(form->parent(), nullptr);
    EXPECT_TRUE(form->Stabindex().isNull()) << "the parameter is handed over unchanged";
    app->ShowForm(4);
    EXPECT_EQ(form->Stabindex().toInt(), 0) << "the default parameter is 0";
}

TEST_F(Dispatch, TheParameterOnlyReachesTabbedScreens)
{
    app->ShowForm(2, platform::Value(7));
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0]->objectName(), "frmMemberConfig");
    EXPECT_EQ(shown[0]->Stabindex().toInt(), 0);
    app->ShowForm(1, platform::Value(3));
    app->ShowForm(3, platform::Value(3));
    EXPECT_EQ(shown[1]->objectName(), "frmMemCardManage");
    EXPECT_EQ(shown[2]->objectName(), "frmMCCheck");
}

TEST_F(Dispatch, ConnHQAnswersWithoutAMessage)
{
    EXPECT_FALSE(app->ConnHQ()) << "HQ.db does not exist";
    EXPECT_TRUE(host.messages().shown().empty());
}
