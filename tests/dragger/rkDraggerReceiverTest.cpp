#include "rkDraggerReceiver.h"
#include "rkPlugin.h"

#include <boost/function.hpp>
#include <gtest/gtest.h>

namespace {

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

TEST(DraggerReceiver, ArgumentGetterStartsFromTheIdentityIgnoresItsResultAndThrowsWhenEmpty)
{
    for (bool reported : {true, false}) {
        Rk::DraggerReceiver::ReceiverArg arg;
        arg.getter = [reported](osg::Matrixd& m) {
            EXPECT_TRUE(m.isIdentity());
            m.setTrans(1, 2, 3);
            return reported;
        };
        osg::ref_ptr<Rk::DraggerReceiver> receiver = new Rk::DraggerReceiver(arg);
        EXPECT_EQ(receiver->getMatrix(), osg::Matrixd::translate(1, 2, 3));
    }
    osg::ref_ptr<Rk::DraggerReceiver> empty =
        new Rk::DraggerReceiver(Rk::DraggerReceiver::ReceiverArg());
    EXPECT_THROW(empty->getMatrix(), boost::bad_function_call);
    EXPECT_NO_THROW(empty->setMatrix(osg::Matrixd())); // empty setter: nothing
}

// The plug-in's own store keeps each parameter at its address (parameter,
// i, j): a value lands where the receiver wrote it and is read from there.
TEST(EEDraggerReceiver, UsesItsParameterAtItsIndicesAtEveryCallWithoutCaching)
{
    Rk::PluginGUI plugin;
    osg::ref_ptr<Rk::DraggerReceiver> gui = new Rk::EEDraggerReceiver(&plugin);
    osg::ref_ptr<Rk::DraggerReceiver> indexed = new Rk::EEDraggerReceiver(&plugin, 2, 5);
    osg::ref_ptr<Rk::DraggerReceiver> wrapped = new Rk::EEDraggerReceiver(&plugin, -1, -2);
    EXPECT_TRUE(gui->getMatrix().isIdentity());
    EXPECT_TRUE(indexed->getMatrix().isIdentity()) << "a failed read gives the identity";

    plugin.setParam<261u, osg::Matrixd>(osg::Matrixd::translate(4, 5, 6));
    plugin.setParam<14u, osg::Matrixd>(2, 5, osg::Matrixd::translate(0, 0, 1));
    plugin.setParam<14u, osg::Matrixd>(unsigned(-1), unsigned(-2), osg::Matrixd::scale(3, 3, 3));
    EXPECT_EQ(gui->getMatrix(), osg::Matrixd::translate(4, 5, 6));
    EXPECT_EQ(indexed->getMatrix(), osg::Matrixd::translate(0, 0, 1));
    EXPECT_EQ(wrapped->getMatrix(), osg::Matrixd::scale(3, 3, 3));

    gui->setMatrix(osg::Matrixd::translate(1, 1, 1));
    indexed->setMatrix(osg::Matrixd::translate(3, 2, 1));
    EXPECT_EQ((plugin.param<261u, osg::Matrixd>()), osg::Matrixd::translate(1, 1, 1));
    osg::Matrixd read;
    EXPECT_TRUE((plugin.getParam<14u, osg::Matrixd>(2, 5, read)));
    EXPECT_EQ(read, osg::Matrixd::translate(3, 2, 1));
    EXPECT_EQ(wrapped->getMatrix(), osg::Matrixd::scale(3, 3, 3)) << "other indices untouched";
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
