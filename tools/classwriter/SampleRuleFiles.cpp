#include "classwriter/SampleRuleFiles.h"

#include <string>

#include "classwriter/RuleFileBuilder.h"

namespace classwriter {

std::vector<uint8_t> generatedRuleFile(int rules) {
    RuleFileBuilder b("Bench");
    const int attributes = rules / 10 + 1;
    for (int a = 0; a < attributes; ++a)
        b.addAttribute("attr" + std::to_string(a), "()D",
                       {RuleAnnotation("$Range").withFloat(0, "min").withFloat(a, "max"),
                        RuleAnnotation("$Group").withString("G").withFloat(a % 3)},
                       RuleCode().pushDouble(a + 0.5));
    for (int r = 0; r < rules; ++r) {
        RuleCode code;
        code.callRule("attr" + std::to_string(r % attributes), "()D")
            .callBuiltin("extrude", "(D)V")
            .pushString("tex" + std::to_string(r) + ".png")
            .callBuiltin("color", "(Ljava/lang/String;)V")
            .readEnum("AlignAxesSelector", r % 2 ? "x" : "z")
            .callBuiltin("alignScopeToAxes", "(Lcom/velmor/gc/AlignAxesSelector;)V")
            .pushInt(r)
            .pushDouble(r * 0.25);
        if (r + 1 < rules)
            code.callRule("Rule" + std::to_string(r + 1) + "$part", "(DLjava/lang/String;)V");
        b.addRule("Rule" + std::to_string(r) + "$part", "(DLjava/lang/String;)V", {"w", "label"},
                  {RuleAnnotation("$Order").withFloat(r), RuleAnnotation("$Doc").withString("rule")},
                  code);
    }
    return b.bytes();
}

std::vector<uint8_t> everyKindRuleFile() {
    RuleFileBuilder b("com/velmor/samples/Every$Kind");
    b.addFileAnnotation(RuleAnnotation("@Description").withString("Quotes \" & <tags> 'here'"));
    b.addFileAnnotation(
        RuleAnnotation("@Version").withFloat(3, "major").withFloat(-0.125, "minor"));

    b.addAttribute("size", "()D",
                   {RuleAnnotation("$Group").withString("Shape").withString("Main").withFloat(2),
                    RuleAnnotation("$Order").withFloat(1e21),
                    RuleAnnotation("@Range").withFloat(0.1, "min").withFloat(1e-7, "max")},
                   RuleCode().pushDouble(2.5));
    b.addAttribute("label", "()Ljava/lang/String;",
                   {RuleAnnotation("@Enum").withString("a").withString("b").withBool(true,
                                                                                 "restricted"),
                    RuleAnnotation("@Odd").withUnknown('x', "what").withBool(false)},
                   RuleCode().pushString("caf\xC3\xA9 \xE2\x82\xAC"));
    b.addAttribute("visible", "()Z", {RuleAnnotation("$Group").withString("Shape").withBool(true)},
                   RuleCode().pushInt(1));
    b.addAttribute("count", "()I", {}, RuleCode().pushInt(-70000));
    b.addAttribute("style", "()Lcom/velmor/gc/AlignAxesSelector;", {},
                   RuleCode().pushString("x").enumValueOf("AlignAxesSelector"));

    RuleCode body;
    body.callRule("size", "()D")
        .callBuiltin("extrude", "(D)V")
        .callRule("label", "()Ljava/lang/String;")
        .callBuiltin("color", "(Ljava/lang/String;)V")
        .readEnum("AlignAxesSelector", "x")
        .readEnum("AlignAxesSelector", "nosuchmember")
        .callBuiltin("alignScopeToAxes", "(Lcom/velmor/gc/AlignAxesSelector;)V")
        .callBuiltin("_$createShape", "()V")
        .readField("state", "D")
        .callRule("Missing", "()V")
        .callRule("helper$inner$deep", "(I)V");
    for (int i = 0; i < 260; ++i)
        body.pushInt(1000 + i);
    b.addRule("Lot", "()V", {}, {RuleAnnotation("$StartRule"), RuleAnnotation("$Order").withFloat(5)},
              body);
    b.addRule("Wall", "(DLjava/lang/String;ZI[I)V", {"width", "name"},
              {RuleAnnotation("$Order").withFloat(2), RuleAnnotation("$StartRule")},
              RuleCode().pushDouble(-0.0));
    b.addRule("a$b$c", "(Lcom/velmor/gc/AlignAxesSelector;)V", {"axes"}, {}, RuleCode());
    b.addFunction("helper$inner$deep", "(I)V", {"n"}, RuleCode().pushInt(7));

    ClassWriter& w = b.writer();
    ConstantPoolBuilder& p = w.pool;
    p.floating(1.5f);
    p.floating(-0.0f);
    p.longValue(-(1LL << 40));
    p.unicode({'u', 'n', 'i', 0x00, 0xFF});
    p.interfaceMethodref(b.classNamed("java/lang/Runnable"), b.nameAndType("run", "()V"));
    w.interfaces = {b.classNamed("java/lang/Runnable")};

    // A method without marker whose code carries every nested attribute kind.
    const uint16_t text = b.string("hello");
    Code code;
    code.maxStack = 2;
    code.maxLocals = 1;
    code.code = {0x12, static_cast<uint8_t>(text), 0x57, 0x10, 0x05, 0x57, 0xB1};
    code.exceptions = {{0, 6, 6, 0}};
    code.attributes = {lineNumberTable(b.utf8("LineNumberTable"), {{0, 10}, {3, 11}}),
                       localVariableTable(b.utf8("LocalVariableTable"),
                                          {{0, 7, b.utf8("x"), b.utf8("I"), 0}}),
                       stackMap(b.utf8("StackMap"), {{0, {{1, 0}, {7, 2}, {8, 3}}, {{0, 0}}},
                                                     {6, {{2, 0}, {3, 0}, {4, 0}}, {{5, 0}, {6, 0}}}})};

    const uint16_t marker = b.utf8("Lcom/velmor/samples/Note;");
    const uint16_t valueName = b.utf8("value");
    Annotation inner{marker, {{valueName, ElementValue::constant('s', b.utf8("inner"))}}, {}};
    Annotation note{marker, {}, {}};
    for (char tag : std::string("BCISZ"))
        note.pairs.push_back({valueName, ElementValue::constant(tag, b.integer(65))});
    note.pairs.push_back({valueName, ElementValue::constant('F', p.floating(0.25f))});
    note.pairs.push_back({valueName, ElementValue::constant('J', p.longValue(1LL << 33))});
    note.pairs.push_back({valueName, ElementValue::constant('D', b.doubleValue(0.1))});
    note.pairs.push_back({valueName, ElementValue::constant('s', b.utf8("text"))});
    note.pairs.push_back(
        {valueName, ElementValue::enumConstant(b.utf8("Lcom/velmor/gc/Color;"), b.utf8("RED"))});
    note.pairs.push_back({valueName, ElementValue::classInfo(b.utf8("Ljava/lang/Object;"))});
    note.pairs.push_back({valueName, ElementValue::annotation(inner)});
    note.pairs.push_back({valueName, ElementValue::array({ElementValue::annotation(inner),
                                                          ElementValue::array({}),
                                                          ElementValue::raw('A')})});

    Member method;
    method.accessFlags = 0x0002;
    method.nameIndex = b.utf8("frame");
    method.descriptorIndex = b.utf8("()V");
    method.attributes = {codeAttribute(b.utf8("Code"), code),
                         annotations(b.utf8("RuntimeInvisibleAnnotations"), {note}),
                         parameterAnnotations(b.utf8("RuntimeVisibleParameterAnnotations"),
                                              {{inner}, {}}),
                         parameterAnnotations(b.utf8("RuntimeInvisibleParameterAnnotations"), {}),
                         exceptions(b.utf8("Exceptions"), {b.classNamed("java/lang/Error")}),
                         emptyAttribute(b.utf8("Deprecated")),
                         emptyAttribute(b.utf8("Synthetic"))};
    w.methods.push_back(method);

    Member field;
    field.accessFlags = 0x0019;
    field.nameIndex = b.utf8("state");
    field.descriptorIndex = b.utf8("D");
    field.attributes = {constantValue(b.utf8("ConstantValue"), b.doubleValue(4.0)),
                        emptyAttribute(b.utf8("Synthetic")), emptyAttribute(b.utf8("Deprecated"))};
    w.fields.push_back(field);

    w.attributes.push_back(sourceFile(b.utf8("SourceFile"), b.utf8("Every$Kind.rules")));
    w.attributes.push_back(innerClasses(b.utf8("InnerClasses"),
                                        {{b.classNamed("com/velmor/samples/Every$Kind$In"), 2,
                                          b.utf8("In"), 0x0019}}));
    w.attributes.push_back(rawAttribute(b.utf8("Signature"), {0x00, 0x01, 0xFF}));
    w.attributes.push_back(emptyAttribute(b.utf8("Deprecated")));
    w.attributes.push_back(emptyAttribute(b.utf8("Synthetic")));
    return b.bytes();
}

} // namespace classwriter
