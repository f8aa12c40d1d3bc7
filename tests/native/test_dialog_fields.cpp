// The DialogBox control-definition parser: fields, quotes, defaults, limits and errors, one row per rule.
#include <gtest/gtest.h>
#include <string>
#include "ui/dialog_fields.h"

using namespace tsl;

TEST(DialogFields, ParsesEveryRule) {
    std::string long_text(400, 't'), long_var(40, 'v');
    struct { int line; std::string def; uint16_t error; int x, y, w, h; DialogControlType type; std::string var, text;
             int32_t value; } rows[] = {
        {__LINE__, "10,20,100,12,STATICTEXT,v,Hello", 0, 10, 20, 100, 12, DC_STATICTEXT, "v", "Hello", 0},
        {__LINE__, ",20,100,12,STATICTEXT,v,Hello", 0, 0, 20, 100, 12, DC_STATICTEXT, "v", "Hello", 0},   // an empty field is 0
        {__LINE__, "DEFAULT,DEFAULT,DEFAULT,DEFAULT,EDITBOX", 0, 8, 16, 44, 32, DC_EDITBOX, "DEFAULT", "DEFAULT", 0},
        {__LINE__, "default,1,2,3,editbox,name", 0, 8, 1, 2, 3, DC_EDITBOX, "name", "DEFAULT", 0},
        {__LINE__, " 1 , 2 ,\t3,4, VaryText , my var , \"a, b  c\" ", 0, 1, 2, 3, 4, DC_VARYTEXT, "myvar", "a, b  c", 0},
        {__LINE__, "1,2,3,4,STATICTEXT,v,\"x\"y\"z\"", 0, 1, 2, 3, 4, DC_STATICTEXT, "v", "xyz", 0},
        {__LINE__, "1,2,3,4,STATICTEXT,v,\"open, quote", 0, 1, 2, 3, 4, DC_STATICTEXT, "v", "open, quote", 0},
        {__LINE__, "1,2,3,4,RADIOBUTTON,c,One,2", 0, 1, 2, 3, 4, DC_RADIOBUTTON, "c", "One", 2},
        {__LINE__, "1,2,3,4,CHECKBOX,f,Bit,-4", 0, 1, 2, 3, 4, DC_CHECKBOX, "f", "Bit", -4},
        {__LINE__, "1,2,3,4,PUSHBUTTON,,DEFAULT,1", 0, 1, 2, 3, 4, DC_PUSHBUTTON, "", "DEFAULT", 1},
        {__LINE__, "1,2,3,4,PUSHBUTTON,,Go", 0, 1, 2, 3, 4, DC_PUSHBUTTON, "", "Go", 0},
        {__LINE__, "1,2,3,4,FILELISTBOX,m", 0, 1, 2, 3, 4, DC_FILELISTBOX, "m", "DEFAULT", 0},
        {__LINE__, "1,2,3,4,STATICTEXT," + long_var + "," + long_text, 0, 1, 2, 3, 4, DC_STATICTEXT,
         std::string(30, 'v'), std::string(256, 't'), 0},
        {__LINE__, "1,2,3,4,LABEL,v,x", 3223, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "", 3223, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "1,2,3,4,RADIOBUTTON,c,One", 3224, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "1,2,3,4,RADIOBUTTON,c,One,0", 3224, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "1,2,3,4,CHECKBOX,c,One,x", 3224, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "1,2,3,4,CHECKBOX,c,One,", 3224, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "1,2,3,4,EDITBOX,c,One,1", 3225, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "1,2,3,4,STATICTEXT,c,One,", 3225, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, "1,2,3,4,PUSHBUTTON,c,One,1,", 3225, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
        {__LINE__, ",,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,", 3225, 0, 0, 0, 0, DC_STATICTEXT, "", "", 0},
    };
    for (auto& r : rows) {
        ControlDef d{};
        ASSERT_EQ(r.error, dialog_parse_control(r.def.c_str(), &d)) << "row at line " << r.line;
        if (r.error) continue;
        EXPECT_EQ(r.x, d.x) << "row at line " << r.line;
        EXPECT_EQ(r.y, d.y) << "row at line " << r.line;
        EXPECT_EQ(r.w, d.width) << "row at line " << r.line;
        EXPECT_EQ(r.h, d.height) << "row at line " << r.line;
        EXPECT_EQ(r.type, d.type) << "row at line " << r.line;
        EXPECT_EQ(r.var, d.variable) << "row at line " << r.line;
        EXPECT_EQ(r.text, d.text) << "row at line " << r.line;
        EXPECT_EQ(r.value, d.value) << "row at line " << r.line;
    }
    // An empty first field is 0 also straight after a definition that had one.
    ControlDef d{};
    ASSERT_EQ(0, dialog_parse_control("77,2,3,4,STATICTEXT,v,x", &d) + dialog_parse_control(",2,3,4,STATICTEXT,v,x", &d));
    EXPECT_EQ(0, d.x);
}
