// Owning references: how they change the counts of what they hold.
#include "module/py_ref.h"

#include <gtest/gtest.h>

namespace {

class PyRef : public testing::Test {
protected:
    PyRef() {
        Py_NoSiteFlag = 1;
        Py_InitializeEx(0);
        m_object = PyList_New(0);
    }
    ~PyRef() override {
        EXPECT_EQ(count(), 1);
        Py_DECREF(m_object);
        Py_Finalize();
    }
    Py_ssize_t count() const { return Py_REFCNT(m_object); }
    PyObject* own() const {
        Py_INCREF(m_object);
        return m_object;
    }
    PyObject* m_object;
};

}  // namespace

TEST_F(PyRef, holds_none_when_empty) {
    const Py_ssize_t before = Py_REFCNT(Py_None);
    {
        const CPyRef empty;
        EXPECT_EQ(empty.get(), Py_None);
        EXPECT_EQ(Py_REFCNT(Py_None), before + 1);
    }
    EXPECT_EQ(Py_REFCNT(Py_None), before);
}

TEST_F(PyRef, counts_every_way_to_get_a_reference) {
    {
        const CPyRef borrowed(m_object);
        EXPECT_EQ(count(), 2);
        const CPyRef owned(own(), CPyRef::owned);
        EXPECT_EQ(count(), 3);
        CPyRef copy(borrowed);
        EXPECT_EQ(count(), 4);
        copy = copy.get();
        EXPECT_EQ(count(), 4);
        copy = borrowed;
        EXPECT_EQ(count(), 4);
        copy = Py_None;
        EXPECT_EQ(count(), 3);
    }
    EXPECT_EQ(count(), 1);
    CPyRefNull adopted(own());
    EXPECT_EQ(count(), 2);
    CPyRefNull moved(std::move(adopted));
    EXPECT_EQ(adopted.get(), nullptr);
    moved.adopt(own());
    EXPECT_EQ(count(), 2);
    moved = CPyRefNull();
    EXPECT_EQ(count(), 1);
    PyObject* released = CPyRefNull(own()).release();
    EXPECT_EQ(count(), 2);
    Py_DECREF(released);
}

TEST_F(PyRef, throws_on_null_and_keeps_what_it_held) {
    CPyRef held(m_object);
    EXPECT_THROW(CPyRef(nullptr), KzResult);
    EXPECT_THROW(CPyRef(nullptr, CPyRef::owned), KzResult);
    EXPECT_THROW(held = nullptr, KzResult);
    EXPECT_EQ(held.get(), m_object);
    held = Py_None;
}
