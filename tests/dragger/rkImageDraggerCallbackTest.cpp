#include "rkImageDragger.h"

#include <QMetaMethod>
#include <QMetaObject>
#include <gtest/gtest.h>

TEST(ImageDraggerCallback, MetaObjectOffersExactlyTheCallbackSlot)
{
    RkImageDraggerCallback callback;
    const QMetaObject* meta = callback.metaObject();
    EXPECT_STREQ(meta->className(), "RkImageDraggerCallback");
    EXPECT_EQ(meta->superClass(), &QObject::staticMetaObject);
    ASSERT_EQ(meta->methodCount() - meta->methodOffset(), 1);
    const QMetaMethod slot = meta->method(meta->methodOffset());
    EXPECT_EQ(slot.methodSignature(), QByteArray("callback()"));
    EXPECT_EQ(slot.methodType(), QMetaMethod::Slot);
    EXPECT_EQ(callback.qt_metacast("RkImageDraggerCallback"), static_cast<void*>(&callback));
}

TEST(ImageDraggerCallback, SlotCallsTheAimedFunctionAndNothingWhenAimedAtNothing)
{
    int first = 0, second = 0;
    const boost::function<void()> countFirst = [&first] { ++first; };
    const boost::function<void()> countSecond = [&second] { ++second; };
    const boost::function<void()> empty;
    RkImageDraggerCallback callback;
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    callback.setFunction(&countFirst);
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    callback.setFunction(&countSecond);
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
    callback.setFunction(&empty);
    EXPECT_NO_THROW(callback.callback());
}
