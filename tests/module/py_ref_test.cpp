// Owning references: how they change reference counts.
#include "module/py_ref.h"

#include <gtest/gtest.h>

TEST(PyRefTest, CountsWhatItHoldsAndRefusesNull) {
    Py_NoSiteFlag = 1;
    Py_InitializeEx(0);
    PyObject* object = PyList_New(0);
    const auto own = [&] { return Py_INCREF(object), object; };
    const auto expectCount = [&](Py_ssize_t count) { EXPECT_EQ(Py_REFCNT(object), count); };
    const Py_ssize_t before = Py_REFCNT(Py_None);
    EXPECT_EQ(CPyRef().get(), Py_None);
    EXPECT_EQ(Py_REFCNT(Py_None), before);
    {
        const CPyRef borrowed(object), owned(own(), CPyRef::owned);
        CPyRef copy(borrowed);
        expectCount(4);
        copy = copy.get();
        copy = borrowed;
        expectCount(4);
        EXPECT_THROW(CPyRef(nullptr), KzResult);
        EXPECT_THROW(CPyRef(nullptr, CPyRef::owned), KzResult);
        EXPECT_THROW(copy = nullptr, KzResult);
        EXPECT_EQ(copy.get(), object) << "it keeps what it held";
        copy = Py_None;
        expectCount(3);
        CPyRefNull adopted(own());
        CPyRefNull moved(std::move(adopted));
        EXPECT_EQ(adopted.get(), nullptr);
        moved.adopt(own());
        expectCount(4);
        moved = CPyRefNull();
        EXPECT_EQ(CPyRefNull(own()).release(), object);
        expectCount(4);
        Py_DECREF(object);
    }
    expectCount(1);
    Py_DECREF(object);
    Py_Finalize();
}
