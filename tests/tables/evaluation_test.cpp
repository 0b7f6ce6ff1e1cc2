// Evaluation: the host's modifiers against modifiers.json, which make_modifiers.py has computed by other means, and what is
// computed when, by links, clips and threads.
#include "host/document/evaluation.h"
#include "host/document/expression.h"
#include "host/document/workspace.h"
#include "kz_paths.h"

#include "kz/channel_mod.h"
#include "kz/result.h"
#include "kz/scene_graph.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <fstream>
#include <thread>

using namespace kzhost;

namespace {

struct Scene {
    std::shared_ptr<CWorkspace> workspace = std::make_shared<CWorkspace>();
    std::shared_ptr<CDocument> document = workspace->open("test");

    template <class Change> void edit(const Change& change) {
        CEdit edit(*workspace);
        change(edit);
        edit.commit();
    }
    Item& add(const char* type) {
        Item* item = nullptr;
        edit([&](CEdit& edit) { item = &edit.add(*document, *kzFindItemType(type)); });
        return *item;
    }
    static const ChannelInfo& channel(const Item& item, const std::string& name) { return *item.type.channel(name); }
    void set(Item& item, const std::string& name, double value) {
        edit([&](CEdit& edit) { edit.setValue(item, channel(item, name), kzFit(channel(item, name), value)); });
    }
    void setText(Item& item, const std::string& name, const std::string& text) {
        edit([&](CEdit& edit) { edit.setValue(item, channel(item, name), KzCell(text)); });
    }
    void key(Item& item, const std::string& name, std::vector<std::pair<double, double>> keys,
             const std::string& action) {
        EnvelopeData curve;
        for (const auto& [time, value] : keys) {
            const std::size_t index = curve.add(time, value);
            curve.setSlopeType(index, KZiSLOPE_LINEAROUT, KZiENVSIDE_OUT);
        }
        for (std::size_t i = 0; i < keys.size(); ++i) {
            curve.setBreak(i, KZfKEYBREAK_SLOPE, true);
            curve.setSlopeType(i, KZiSLOPE_LINEARIN, KZiENVSIDE_IN);
            curve.setSlopeType(i, KZiSLOPE_LINEAROUT, KZiENVSIDE_OUT);
        }
        edit([&](CEdit& edit) {
            kzSetCurve(item, channel(item, name), action, std::make_shared<EnvelopeData>(curve), {}, edit);
        });
    }
    void link(Item& source, const std::string& from, Item& target, const std::string& to) {
        edit([&](CEdit& edit) { edit.linkChannels(source, channel(source, from), target, channel(target, to)); });
    }
    Item& place(const nlohmann::json& names, const nlohmann::json& numbers, Item* parent = nullptr) {
        Item& item = add("locator");
        set(item, "order", KZiROTORDER_ZXY);
        for (std::size_t i = 0; i < names.size(); ++i) set(item, names[i], numbers[i].get<double>());
        if (parent != nullptr) edit([&](CEdit& edit) { edit.place(item, parent, CEdit::last); });
        return item;
    }
    void join(const char* graph, Item& source, Item& target) {
        edit([&](CEdit& edit) { edit.link(graph, source, CEdit::last, target, CEdit::last); });
    }
    void expectMatrix(Item& item, const std::string& name, const nlohmann::json& expected, const std::string& title) {
        const auto value = kzEvaluationOf(*document).read(item, channel(item, name), 0);
        const auto* matrix = std::get_if<KzMatrix4>(&value);
        ASSERT_NE(matrix, nullptr) << title;
        for (std::size_t i = 0; i < 16; ++i)
            EXPECT_NEAR(matrix->m[i / 4][i % 4], expected[i].get<double>(), 1e-12) << title << " at " << i;
    }
    double read(Item& item, const std::string& name, double time = 0) {
        return kzNumberOf(kzEvaluationOf(*document).read(item, channel(item, name), time)).value_or(NAN);
    }
    std::uint64_t computations() const { return kzEvaluationOf(*document).computations(); }
};

TEST(EvaluationTest, ModifiersComputeWhatTheTableHas) {
    std::ifstream file(KZ_SOURCE_DIR "/tests/tables/modifiers.json");
    const auto table = nlohmann::json::parse(file);
    ASSERT_GT(table["rows"].size(), 30U);
    for (const auto& row : table["rows"]) {
        Scene scene;
        Item& item = scene.add(row["type"].get<std::string>().c_str());
        for (const auto& [name, value] : row["channels"].items()) scene.set(item, name, value.get<double>());
        if (!row["expression"].get_ref<const std::string&>().empty())
            scene.setText(item, "expression", row["expression"]);
        if (row["ramps"]) scene.key(item, "input", {{0, 0}, {2, 4}}, KZs_ACTIONLAYER_ANIM);
        for (std::size_t i = 0; i < table["times"].size(); ++i) {
            const double expected = row["values"][i].get<double>();
            EXPECT_NEAR(scene.read(item, row["output"], table["times"][i]), expected,
                        1e-11 * std::max(1.0, std::abs(expected)))
                << row["type"] << row["channels"].dump() << " at " << table["times"][i];
        }
    }
}

TEST(EvaluationTest, ConstraintsAndMatricesAreAsTheTableHas) {
    std::ifstream file(KZ_SOURCE_DIR "/tests/tables/modifiers.json");
    const auto table = nlohmann::json::parse(file);
    ASSERT_GT(table["constraints"].size(), 15U);
    for (const auto& row : table["constraints"]) {
        Scene scene;
        Item* parent = row["parent"].empty() ? nullptr : &scene.place(table["place"], row["parent"]);
        Item& locator = scene.place(table["place"], row["own"], parent);
        Item& constraint = scene.add(row["type"].get<std::string>().c_str());
        for (const auto& [name, value] : row["channels"].items()) scene.set(constraint, name, value.get<double>());
        for (const auto& numbers : row["sources"]) {
            Item& source = scene.place(table["place"], numbers);
            for (const auto& [name, value] : row["keyed"].items())
                scene.key(source, name, {{0, value.get<double>()}}, KZs_ACTIONLAYER_ANIM);
            scene.join(KZsGRAPH_SOURCE, source, constraint);
        }
        scene.join(KZsGRAPH_XFRMLOCAL, constraint, locator);
        scene.expectMatrix(locator, "worldMatrix", row["world"], row["type"].dump() + row["channels"].dump());
    }
    for (const auto& row : table["matrices"]) {
        Scene scene;
        Item& math = scene.add("mathMatrix");
        for (const auto& [name, value] : row["channels"].items()) scene.set(math, name, value.get<double>());
        for (const auto& numbers : row["sources"])
            scene.link(scene.place(table["place"], numbers), "worldMatrix", math, "matrixInputs");
        scene.expectMatrix(math, "matrixOutput", row["world"], row["channels"].dump());
    }
}

TEST(EvaluationTest, ConstraintsFollowEachChange) {
    Scene scene;
    Item &source = scene.add("locator"), &other = scene.add("locator"), &locator = scene.add("locator");
    Item& constraint = scene.add("constraintPosition");
    const auto x = [&] {
        return std::get<KzMatrix4>(
                   kzEvaluationOf(*scene.document).read(locator, Scene::channel(locator, "worldMatrix"), 0))
            .m[3][0];
    };
    scene.set(source, "pos.X", 4);
    EXPECT_EQ(x(), 0);
    scene.join(KZsGRAPH_XFRMLOCAL, constraint, locator);
    EXPECT_EQ(x(), 0) << "without a source";
    scene.join(KZsGRAPH_SOURCE, source, constraint);
    EXPECT_EQ(x(), 4);
    scene.join(KZsGRAPH_SOURCE, other, constraint);
    EXPECT_EQ(x(), 2) << "after a link that is none of the locator's";
    scene.set(constraint, "blend", 0.5);
    EXPECT_EQ(x(), 1);
    scene.workspace->undo(2);
    EXPECT_EQ(x(), 4);
    scene.join(KZsGRAPH_XFRMLOCAL, scene.add("constraintPosition"), source);
    scene.join(KZsGRAPH_SOURCE, locator, *source.links.at(KZsGRAPH_XFRMLOCAL).reverse.front());
    try {
        ADD_FAILURE() << "two that follow each other are at " << x();
    } catch (KzResult code) {
        EXPECT_EQ(code, static_cast<KzResult>(KZeGRAPH_CYCLIC));
    }
}

TEST(EvaluationTest, FormulasThatAreWrongLeaveWhatIsStored) {
    std::string why;
    const auto nothing = [](std::string_view) { return std::nullopt; };
    for (const auto& [formula, expected] : {std::pair{"1 +", "at position 4: the formula ends too early"},
                                            {"1 2", "at position 3: \"2\" is not expected"},
                                            {"t", "at position 1: nothing is called \"t\""},
                                            {"(1", "at position 3: \")\" is expected"},
                                            {"max(1)", "at position 6: \",\" is expected"},
                                            {"fly(1)", "at position 1: there is no function \"fly\""},
                                            {"1 + $", "at position 5: a value is expected"},
                                            {"inf", "at position 1: nothing is called \"inf\""}}) {
        EXPECT_FALSE(kzCalculate(formula, nothing, why)) << formula;
        EXPECT_EQ(why, expected);
    }
    EXPECT_FALSE(kzCalculate(std::string(100'000, '('), nothing, why));
    EXPECT_EQ(kzCalculate(std::string(100'001, '-') + "1", nothing, why), -1);
    Scene scene;
    Item &formula = scene.add("modifierExpression"), &item = scene.add("locator");
    scene.set(formula, "output", 3);
    scene.link(formula, "output", item, "pos.X");
    for (const auto& [text, expected] : {std::pair{"2 * t", 2.0}, {"2 *", 3.0}, {"sqrt(-1)", 3.0}, {"t + 4", 5.0}}) {
        scene.setText(formula, "expression", text);
        EXPECT_EQ(scene.read(item, "pos.X", 1), expected) << text;
    }
}

TEST(EvaluationTest, ClipsPlayAsTheTableHas) {
    std::ifstream file(KZ_SOURCE_DIR "/tests/tables/modifiers.json");
    const auto table = nlohmann::json::parse(file);
    ASSERT_GT(table["clips"].size(), 4U);
    for (const auto& row : table["clips"]) {
        Scene scene;
        Item &item = scene.add("locator"), &clip = scene.add("actionclip");
        scene.set(item, "pos.X", 10);
        scene.key(item, "pos.X", {{0, 0}, {2, 4}}, clip.ident);
        scene.set(clip, "active", 1);
        for (const auto& [name, value] : row["channels"].items()) scene.set(clip, name, value.get<double>());
        for (std::size_t i = 0; i < table["times"].size(); ++i)
            EXPECT_NEAR(scene.read(item, "pos.X", table["times"][i]), row["values"][i].get<double>(), 1e-9)
                << row["channels"] << " at " << table["times"][i];
    }
}

TEST(EvaluationTest, ComputesOnlyWhatIsAskedAndHasChanged) {
    Scene scene;
    Item &source = scene.add("locator"), &twice = scene.add("mathBasic"), &other = scene.add("locator");
    std::vector<Item*> driven;
    for (int i = 0; i < 20; ++i) driven.push_back(&scene.add("locator"));
    scene.set(twice, "operation", KZiMATHBASIC_MULTIPLY);
    scene.set(twice, "input2", 2);
    scene.link(source, "pos.X", twice, "input1");
    for (Item* item : driven) scene.link(twice, "output", *item, "pos.Y");
    scene.set(source, "pos.X", 3);
    const auto cost = [&](const auto& use) {
        const std::uint64_t before = scene.computations();
        use();
        return scene.computations() - before;
    };
    const auto readAll = [&](double expected) {
        for (Item* item : driven) EXPECT_EQ(scene.read(*item, "pos.Y"), expected);
    };
    const auto first = cost([&] { readAll(6); });
    EXPECT_LT(first, 20U + 20U);  // what they share is computed once
    EXPECT_EQ(cost([&] { readAll(6); }), 0U);
    scene.set(other, "pos.X", 1);
    EXPECT_EQ(cost([&] { readAll(6); }), 0U) << "after a change of something else";
    scene.set(source, "pos.Y", 1);
    EXPECT_LE(cost([&] { readAll(6); }), 1U) << "after a change of another channel";
    scene.set(source, "pos.X", 5);
    EXPECT_EQ(cost([&] { EXPECT_EQ(scene.read(*driven[0], "pos.Y"), 10); }), 5U)
        << "source, input, modifier, output, target";
    readAll(10);
    scene.workspace->undo(1);
    readAll(6);
    EXPECT_EQ(std::get<KzMatrix4>(
                  kzEvaluationOf(*scene.document).read(*driven[0], Scene::channel(*driven[0], "worldMatrix"), 0))
                  .m[3][1],
              6);
}

TEST(EvaluationTest, NamesCircles) {
    Scene scene;
    Item &sum = scene.add("mathBasic"), &locator = scene.add("locator");
    scene.link(sum, "output", locator, "pos.X");
    scene.link(locator, "pos.X", sum, "input1");
    for (Item* item : {&sum, &locator}) {
        try {
            scene.read(*item, item == &sum ? "output" : "pos.X");
            FAIL();
        } catch (KzResult code) {
            EXPECT_EQ(code, KZeGRAPH_CYCLIC);
        }
    }
    EXPECT_EQ(scene.read(locator, "pos.Y"), 0);
}

TEST(EvaluationTest, FollowsChainsOfAnyLength) {
    Scene scene;
    Item* last = &scene.add("locator");
    Item& first = *last;
    for (int i = 0; i < 20'000; ++i) {
        Item& next = scene.add("locator");
        scene.link(*last, "pos.X", next, "pos.X");
        last = &next;
    }
    scene.set(first, "pos.X", 1.5);
    EXPECT_EQ(scene.read(*last, "pos.X"), 1.5);
}

TEST(EvaluationTest, ActionsLieAboveEachOther) {
    Scene scene;
    Item& item = scene.add("locator");
    const ChannelInfo& channel = Scene::channel(item, "pos.X");
    const auto say = [&](const std::string& action, std::optional<double> value) {
        scene.edit([&](CEdit& edit) {
            kzSetAction(item, channel, {action, value ? std::optional<KzCell>(*value) : std::nullopt, nullptr}, edit);
        });
    };
    const auto expect = [&](double value, double time = 1) { EXPECT_EQ(scene.read(item, "pos.X", time), value); };
    say(KZs_ACTIONLAYER_STATIC, 1);
    expect(1);
    say(KZs_ACTIONLAYER_SETUP, 2);
    expect(2);
    scene.key(item, "pos.X", {{0, 10}, {2, 20}}, KZs_ACTIONLAYER_ANIM);
    expect(15);
    expect(2, KZiCHANTIME_SETUP);
    Item& clip = scene.add("actionclip");
    say(clip.ident, 100);
    expect(15);
    scene.set(clip, "active", 1);
    expect(100);
    scene.set(clip, "weight", 0.5);
    for (const auto& [mode, value] :
         {std::pair{KZiACTIONBLEND_REPLACE, 57.5}, {KZiACTIONBLEND_ADD, 65.0}, {KZiACTIONBLEND_MULTIPLY, 15 * 50.5}}) {
        scene.set(clip, "blendMode", mode);
        expect(value);
    }
    say(KZs_ACTIONLAYER_EDIT, 7);
    expect(7);
    say(KZs_ACTIONLAYER_EDIT, {});
    scene.edit([&](CEdit& edit) { edit.remove(clip); });
    expect(15);
    scene.workspace->undo(2);
    expect(7);
}

TEST(EvaluationTest, TellsWhichKeysChangedAndUndoesThat) {
    Scene scene;
    Item& item = scene.add("locator");
    std::vector<std::pair<DocumentEvent::Kind, double>> told;
    scene.workspace->setSink([&](const DocumentEvent& event) {
        if (event.kind == DocumentEvent::Kind::keyAdded || event.kind == DocumentEvent::Kind::keyRemoved)
            told.emplace_back(event.kind, event.time);
    });
    const ChannelInfo& channel = Scene::channel(item, "pos.X");
    auto curve = std::make_shared<EnvelopeData>(kzNewCurve(channel));
    curve->add(0.5, 3);
    scene.edit([&](CEdit& edit) {
        kzSetCurve(item, channel, KZs_ACTIONLAYER_ANIM, curve, {DocumentEvent::Kind::keyAdded, 0.5}, edit);
    });
    EXPECT_EQ(scene.read(item, "pos.X", 9), 3);
    scene.workspace->undo(1);
    EXPECT_EQ(scene.read(item, "pos.X", 9), 0);
    scene.workspace->redo(1);
    EXPECT_EQ(scene.read(item, "pos.X", 9), 3);
    using Kind = DocumentEvent::Kind;
    EXPECT_EQ(told, (decltype(told){{Kind::keyAdded, 0.5}, {Kind::keyRemoved, 0.5}, {Kind::keyAdded, 0.5}}));
}

TEST(EvaluationTest, ReadersNeverSeeHalfOfAChange) {
    Scene scene;
    Item &source = scene.add("locator"), &target = scene.add("locator");
    for (const char* name : {"pos.X", "pos.Y"}) scene.link(source, name, target, name);
    const std::vector<ChannelRef> both{kzChannelRef(target, Scene::channel(target, "pos.X")),
                                       kzChannelRef(target, Scene::channel(target, "pos.Y"))};
    std::atomic<bool> isDone = false;
    std::atomic<int> torn = 0, reads = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i)
        readers.emplace_back([&] {
            while (!isDone || reads < 10) {
                const auto values = kzEvaluationOf(*scene.document).read(both, 0);
                torn += *kzNumberOf(values[0]) != -*kzNumberOf(values[1]);
                ++reads;
            }
        });
    for (int i = 1; i <= 500; ++i)
        scene.edit([&](CEdit& edit) {
            edit.setValue(source, Scene::channel(source, "pos.X"), KzCell(double(i)));
            std::this_thread::yield();
            edit.setValue(source, Scene::channel(source, "pos.Y"), KzCell(-double(i)));
        });
    isDone = true;
    for (auto& reader : readers) reader.join();
    EXPECT_EQ(torn, 0);
}

// Counts what it is asked for; the document may change meanwhile.
struct CountingModifier : CModifier {
    Outputs run(double time, const Inputs& in) const override {
        ++runs;
        if (onRun) onRun();
        return {KzCell(*kzNumberOf(in[0][0]) + time)};
    }
    std::function<void()> onRun;
    mutable int runs = 0;
};
struct OneModifier : ModifierSource {
    std::shared_ptr<const ModifierSet> modifiers(CDocument&) override { return set; }
    std::shared_ptr<ModifierSet> set = std::make_shared<ModifierSet>();
};

TEST(EvaluationTest, RunsModulesWithoutTheLockAndAgainAfterAChange) {
    Scene scene;
    Item &source = scene.add("locator"), &target = scene.add("locator");
    const auto modifier = std::make_shared<CountingModifier>();
    modifier->item = target.shared_from_this();
    modifier->inputs.push_back({kzChannelRef(source, Scene::channel(source, "pos.X"))});
    modifier->outputs.push_back({kzChannelRef(target, Scene::channel(target, "pos.X"))});
    const auto only = std::make_shared<OneModifier>();
    only->set->all.push_back(modifier);
    only->set->index();
    scene.workspace->setModifierSource(only);
    EXPECT_EQ(scene.read(target, "pos.X", 2), 2);
    EXPECT_EQ(scene.read(target, "pos.X", 2), 2);
    EXPECT_EQ(modifier->runs, 1);
    scene.set(source, "pos.Y", 8);
    EXPECT_EQ(scene.read(target, "pos.X", 2), 2);
    EXPECT_EQ(modifier->runs, 1);
    // Another thread, which must get the lock, changes the input during the first run.
    scene.set(source, "pos.X", 1);
    modifier->onRun = [&] {
        if (modifier->runs == 2) std::thread([&] { scene.set(source, "pos.X", 5); }).join();
    };
    EXPECT_EQ(scene.read(target, "pos.X", 2), 7);
    EXPECT_EQ(modifier->runs, 3);
    modifier->onRun = [] { throw KZe_FAILED; };
    scene.set(target, "pos.X", 4);
    scene.set(source, "pos.X", 6);
    EXPECT_EQ(scene.read(target, "pos.X", 2), 4) << "what is stored";
    modifier->onRun = [&] { scene.read(target, "pos.X", 2); };
    scene.set(source, "pos.X", 7);
    EXPECT_EQ(scene.read(target, "pos.X", 2), 4) << "a modifier that reads what it computes";
}

}  // namespace
