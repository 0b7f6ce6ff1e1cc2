// Owning references: how they change the counts of what they hold.
#include "module/py_ref.h"

#include <gtest/gtest.h>

TEST(PyRef, counts_what_it_holds_and_refuses_null) {
    Py_NoSiteFlag = 1;
    Py_InitializeEx(0);
    PyObject* object = PyList_New(0);
    const auto count = [&] { return Py_REFCNT(object); };
    const auto own = [&] {
        Py_INCREF(object);
        return object;
    };
    {
        const Py_ssize_t before = Py_REFCNT(Py_None);
        const CPyRef empty;
        EXPECT_EQ(empty.get(), Py_None);
        EXPECT_EQ(Py_REFCNT(Py_None), before + 1);
    }
    {
        const CPyRef borrowed(object);
        EXPECT_EQ(count(), 2);
        const CPyRef owned(own(), CPyRef::owned);
        EXPECT_EQ(count(), 3);
        CPyRef copy(borrowed);
        EXPECT_EQ(count(), 4);
        copy = copy.get();
        copy = borrowed;
        EXPECT_EQ(count(), 4);
        EXPECT_THROW(CPyRef(nullptr), KzResult);
        EXPECT_THROW(CPyRef(nullptr, CPyRef::owned), KzResult);
        EXPECT_THROW(copy = nullptr, KzResult);
        EXPECT_EQ(copy.get(), object) << "it keeps what it held";
        copy = Py_None;
        EXPECT_EQ(count(), 3);
    }
    {
        CPyRefNull adopted(own());
        CPyRefNull moved(std::move(adopted));
        EXPECT_EQ(adopted.get(), nullptr);
        moved.adopt(own());
        EXPECT_EQ(count(), 2);
        moved = CPyRefNull();
        EXPECT_EQ(count(), 1);
        EXPECT_EQ(CPyRefNull(own()).release(), object);
        EXPECT_EQ(count(), 2);
        Py_DECREF(object);
    }
    EXPECT_EQ(count(), 1);
    Py_DECREF(object);
    Py_Finalize();
}
