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
    EXPECT_EQ(slot.access(), QMetaMethod::Public);
    EXPECT_EQ(meta->propertyCount(), meta->propertyOffset());
    EXPECT_EQ(meta->enumeratorCount(), meta->enumeratorOffset());
    EXPECT_EQ(meta->classInfoCount(), meta->classInfoOffset());
    EXPECT_EQ(meta->constructorCount(), 0);
}

TEST(ImageDraggerCallback, CastsByItsOwnNameAndThroughQObject)
{
    RkImageDraggerCallback callback;
    EXPECT_EQ(callback.qt_metacast("RkImageDraggerCallback"), static_cast<void*>(&callback));
    EXPECT_EQ(callback.qt_metacast("QObject"),
              static_cast<void*>(static_cast<QObject*>(&callback)));
    EXPECT_EQ(callback.qt_metacast("RkImageDragger"), nullptr);
    EXPECT_EQ(callback.qt_metacast(nullptr), nullptr);
}

TEST(ImageDraggerCallback, SlotInvokedByNameCallsTheAimedFunction)
{
    int first = 0, second = 0;
    const boost::function<void()> countFirst = [&first] { ++first; };
    const boost::function<void()> countSecond = [&second] { ++second; };
    RkImageDraggerCallback callback;

    callback.setFunction(&countFirst);
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    callback.setFunction(&countSecond);
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
}

TEST(ImageDraggerCallback, AimedAtNothingOrAnEmptyFunctionDoesNothing)
{
    RkImageDraggerCallback callback;
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));

    const boost::function<void()> empty;
    callback.setFunction(&empty);
    EXPECT_NO_THROW(callback.callback());
    EXPECT_TRUE(QMetaObject::invokeMethod(&callback, "callback"));
}
