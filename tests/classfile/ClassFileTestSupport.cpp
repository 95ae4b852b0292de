#include "ClassFileTestSupport.h"

namespace classfiletest {

using namespace classwriter;

ClassWriter richClass() {
    ClassWriter w = minimalClass();
    ConstantPoolBuilder& p = w.pool;
    const uint16_t object = w.superClass = p.classNamed("java/lang/Object");
    w.interfaces = {p.classNamed("com/velmor/Shape")};
    const uint16_t code = p.utf8("Code");
    const uint16_t lnt = p.utf8("LineNumberTable");
    const uint16_t lvt = p.utf8("LocalVariableTable");
    const uint16_t stack = p.utf8("StackMap");
    const uint16_t visible = p.utf8("RuntimeVisibleAnnotations");
    const uint16_t paramVisible = p.utf8("RuntimeVisibleParameterAnnotations");
    const uint16_t number = p.integer(-7);
    const uint16_t ratio = p.floating(0.5f);
    const uint16_t big = p.longValue(1LL << 40);
    const uint16_t height = p.doubleValue(2.25);
    p.unicode({'u', 'n', 'i'});
    const uint16_t text = p.stringOf("hello");
    const uint16_t field = p.fieldrefOf("com/velmor/gc/Color", "RED", "Lcom/velmor/gc/Color;");
    const uint16_t call = p.methodrefOf("com/velmor/gc/Builtins", "box", "(DD)V");
    p.interfaceMethodref(object, p.nameAndTypeOf("area", "()D"));
    const uint16_t marker = p.utf8("Lcom/velmor/gc/TKAAnnotations;");
    const uint16_t valueName = p.utf8("value");
    const uint16_t nameName = p.utf8("name");
    const uint16_t rule = p.utf8("_$RULE");
    const uint16_t desc = p.utf8("(D)V");
    const uint16_t param = p.utf8("size");
    const uint16_t dtype = p.utf8("D");

    Annotation nested{marker, {{nameName, ElementValue::constant('s', rule)}}, {}};
    Annotation top{marker, {}, {}};
    top.pairs.push_back({valueName, ElementValue::array({ElementValue::annotation(nested)})});
    for (char tag : std::string("BCISZ"))
        top.pairs.push_back({nameName, ElementValue::constant(tag, number)});
    top.pairs.push_back({nameName, ElementValue::constant('F', ratio)});
    top.pairs.push_back({nameName, ElementValue::constant('D', height)});
    top.pairs.push_back({nameName, ElementValue::constant('J', big)});
    top.pairs.push_back({nameName, ElementValue::enumConstant(dtype, rule)});
    top.pairs.push_back({nameName, ElementValue::classInfo(dtype)});

    Code body;
    body.maxStack = 4;
    body.maxLocals = 3;
    body.code = {0x12, static_cast<uint8_t>(text), 0xB2, 0x00, static_cast<uint8_t>(field),  0xB8,
                 0x00, static_cast<uint8_t>(call), 0x14, 0x00, static_cast<uint8_t>(height), 0xB1};
    body.exceptions = {{0, 4, 8, 0}, {1, 4, 9, object}};
    body.attributes = {lineNumberTable(lnt, {{0, 10}, {8, 11}}),
                       localVariableTable(lvt, {{0, 12, param, dtype, 0}}),
                       stackMap(stack, {{0, {{1, 0}, {7, 2}, {8, 5}}, {{0, 0}}}})};

    Member method;
    method.accessFlags = 0x0009;
    method.nameIndex = p.utf8("box");
    method.descriptorIndex = desc;
    method.attributes = {codeAttribute(code, body), annotations(visible, {top}),
                         parameterAnnotations(paramVisible, {{nested}, {}}),
                         parameterAnnotations(p.utf8("RuntimeInvisibleParameterAnnotations"),
                                              {{}, {nested, nested}}),
                         exceptions(p.utf8("Exceptions"), {object})};
    w.methods.push_back(method);

    Member constant;
    constant.accessFlags = 0x0018;
    constant.nameIndex = p.utf8("LIMIT");
    constant.descriptorIndex = p.utf8("I");
    constant.attributes = {constantValue(p.utf8("ConstantValue"), number),
                           emptyAttribute(p.utf8("Synthetic"))};
    w.fields.push_back(constant);

    w.attributes = {sourceFile(p.utf8("SourceFile"), p.utf8("Foo.rules")),
                    innerClasses(p.utf8("InnerClasses"), {{object, 2, 1, 0x0019}}),
                    emptyAttribute(p.utf8("Deprecated")),
                    rawAttribute(p.utf8("Signature"), {1, 2, 3}),
                    annotations(p.utf8("RuntimeInvisibleAnnotations"), {nested})};
    return w;
}

} // namespace classfiletest
