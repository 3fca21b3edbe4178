#include "rkDraggerReceiver.h"
#include "rkPlugin.h"

#include <boost/function.hpp>
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace {

// A plug-in that records every call of its two hooks.
class RecordingPlugin : public Rk::PluginGUI
{
public:
    struct Call
    {
        unsigned int id, i, j;
        osg::Matrixd value;
    };
    mutable std::vector<Call> reads;
    std::vector<Call> writes;
    osg::Matrixd current = osg::Matrixd::translate(4, 5, 6);
    bool readSucceeds = true;

protected:
    bool readMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                         osg::Matrixd& value) const override
    {
        reads.push_back({id, i, j, value});
        if (readSucceeds)
            value = current;
        return readSucceeds;
    }
    bool writeMatrixParam(unsigned int id, unsigned int i, unsigned int j,
                          const osg::Matrixd& value) override
    {
        writes.push_back({id, i, j, value});
        current = value;
        return true;
    }
};

TEST(DraggerReceiver, EmptyFunctionsReadTheIdentityAndIgnoreWrites)
{
    osg::ref_ptr<Rk::DraggerReceiver> receiver = new Rk::DraggerReceiver(
        boost::function<osg::Matrixd()>(), boost::function<void(const osg::Matrixd&)>());
    EXPECT_TRUE(receiver->getMatrix().isIdentity());
    receiver->setMatrix(osg::Matrixd::translate(1, 2, 3));
    EXPECT_TRUE(receiver->getMatrix().isIdentity());
}

TEST(DraggerReceiver, PassesMatricesThroughUnchanged)
{
    osg::Matrixd stored = osg::Matrixd::scale(2, 3, 4); // not rigid: no check, no conversion
    osg::ref_ptr<Rk::DraggerReceiver> receiver = new Rk::DraggerReceiver(
        [&stored] { return stored; }, [&stored](const osg::Matrixd& m) { stored = m; });
    EXPECT_EQ(receiver->getMatrix(), osg::Matrixd::scale(2, 3, 4));
    const osg::Matrixd written =
        osg::Matrixd::rotate(0.3, osg::Vec3d(0, 1, 0)) * osg::Matrixd::translate(7, 8, 9);
    receiver->setMatrix(written);
    EXPECT_EQ(stored, written);
}

TEST(DraggerReceiver, ArgumentGetterStartsFromTheIdentityAndItsResultIsIgnored)
{
    for (bool reported : {true, false}) {
        Rk::DraggerReceiver::ReceiverArg arg;
        arg.getter = [reported](osg::Matrixd& m) {
            EXPECT_TRUE(m.isIdentity());
            m.setTrans(1, 2, 3);
            return reported;
        };
        arg.setter = [](const osg::Matrixd&) {};
        osg::ref_ptr<Rk::DraggerReceiver> receiver = new Rk::DraggerReceiver(arg);
        EXPECT_EQ(receiver->getMatrix(), osg::Matrixd::translate(1, 2, 3));
    }
}

TEST(DraggerReceiver, EmptyArgumentGetterThrowsBadFunctionCall)
{
    osg::ref_ptr<Rk::DraggerReceiver> receiver =
        new Rk::DraggerReceiver(Rk::DraggerReceiver::ReceiverArg());
    EXPECT_THROW(receiver->getMatrix(), boost::bad_function_call);
    EXPECT_NO_THROW(receiver->setMatrix(osg::Matrixd())); // empty setter: nothing
}

TEST(EEDraggerReceiver, GuiReceiverUses261AndIndexedReceiver14AtItsIndicesAtEveryCall)
{
    RecordingPlugin plugin;
    osg::ref_ptr<Rk::DraggerReceiver> gui = new Rk::EEDraggerReceiver(&plugin);
    osg::ref_ptr<Rk::DraggerReceiver> indexed = new Rk::EEDraggerReceiver(&plugin, 2, 5);
    EXPECT_EQ(gui->getMatrix(), osg::Matrixd::translate(4, 5, 6));
    plugin.current = osg::Matrixd::translate(0, 0, 1);
    EXPECT_EQ(indexed->getMatrix(), osg::Matrixd::translate(0, 0, 1)); // no caching
    gui->setMatrix(osg::Matrixd::translate(1, 1, 1));
    indexed->setMatrix(osg::Matrixd::translate(3, 2, 1));

    ASSERT_EQ(plugin.reads.size(), 2u);
    ASSERT_EQ(plugin.writes.size(), 2u);
    using Address = std::tuple<unsigned int, unsigned int, unsigned int>;
    for (const auto* calls : {&plugin.reads, &plugin.writes}) {
        EXPECT_EQ(Address((*calls)[0].id, (*calls)[0].i, (*calls)[0].j), Address(261u, 0u, 0u));
        EXPECT_EQ(Address((*calls)[1].id, (*calls)[1].i, (*calls)[1].j), Address(14u, 2u, 5u));
    }
    EXPECT_TRUE(plugin.reads[1].value.isIdentity()) << "reads start from the identity";
    EXPECT_EQ(plugin.writes[0].value, osg::Matrixd::translate(1, 1, 1));
}

TEST(EEDraggerReceiver, FailedReadGivesTheIdentityAndNegativeIndicesWrap)
{
    RecordingPlugin plugin;
    plugin.readSucceeds = false;
    osg::ref_ptr<Rk::DraggerReceiver> receiver = new Rk::EEDraggerReceiver(&plugin, -1, -2);
    EXPECT_TRUE(receiver->getMatrix().isIdentity());
    ASSERT_EQ(plugin.reads.size(), 1u);
    EXPECT_EQ(plugin.reads[0].i, static_cast<unsigned int>(-1));
    EXPECT_EQ(plugin.reads[0].j, static_cast<unsigned int>(-2));
}

TEST(EEDraggerReceiver, NullPluginReadsTheIdentityAndIgnoresWrites)
{
    osg::ref_ptr<Rk::DraggerReceiver> gui =
        new Rk::EEDraggerReceiver(static_cast<Rk::PluginGUI*>(nullptr));
    osg::ref_ptr<Rk::DraggerReceiver> indexed =
        new Rk::EEDraggerReceiver(static_cast<Rk::Plugin*>(nullptr), 1, 2);
    for (Rk::DraggerReceiver* receiver : {gui.get(), indexed.get()}) {
        receiver->setMatrix(osg::Matrixd::translate(1, 2, 3));
        EXPECT_TRUE(receiver->getMatrix().isIdentity());
    }
}

} // namespace
