// The editor's toolbar, written by a page through its routine group.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "frame/inputbox.h"
#include "frame/page.h"
#include "tests/support/page_runner.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

using namespace tav;
using tav::test::BodyPage;
using tav::test::TestSite;
using tav::test::count;

namespace {

const bool registered = register_page("inputboxtest", [] { return std::make_unique<BodyPage>("inputboxtest"); });

// One start tag of the markup, attribute names upper case, the text up to
// the next tag kept for labels.
struct Tag {
    std::string name;
    std::map<std::string, std::string> attrs;
    std::string text;
    bool has(const std::string& a) const { return attrs.count(a) != 0; }
    std::string at(const std::string& a) const {
        auto it = attrs.find(a);
        return it == attrs.end() ? "" : it->second;
    }
};

std::string upper(std::string s) {
    for (char& c : s)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return s;
}

std::vector<Tag> tags_of(const std::string& html) {
    static const std::regex tag_re(R"re(<([A-Za-z]+)([^>]*)>([^<]*))re");
    static const std::regex attr_re(R"re(([A-Za-z-]+)(?:="([^"]*)")?)re");
    std::vector<Tag> out;
    for (std::sregex_iterator it(html.begin(), html.end(), tag_re), end; it != end; ++it) {
        Tag t{upper((*it)[1]), {}, (*it)[3]};
        const std::string attrs = (*it)[2];
        for (std::sregex_iterator a(attrs.begin(), attrs.end(), attr_re); a != end; ++a)
            t.attrs[upper((*a)[1])] = (*a)[2];
        out.push_back(std::move(t));
    }
    return out;
}

// The tags from the one with id `id` to the end of the select it opens.
std::vector<Tag> options_of(const std::vector<Tag>& tags, const std::string& id) {
    std::vector<Tag> out;
    bool in = false;
    for (const Tag& t : tags) {
        if (t.name == "SELECT") in = t.at("ID") == id;
        else if (in && t.name == "OPTION") out.push_back(t);
    }
    return out;
}

std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string without_cr(std::string s) {
    std::erase(s, '\r');
    return s;
}

class InputBoxTest : public ::testing::Test {
protected:
    // The page writes text, the toolbar, text: the toolbar lands in between.
    static std::string& answer() {
        static std::string body;
        if (body.empty()) {
            TestSite site;
            body = tav::test::run_body(site, "inputboxtest", "/x.asp", [](BodyPage& page) {
                       InputBox box(page);
                       Response.write("BEFORE|");
                       box.inputboxI_init();
                       Response.write("|AFTER");
                   }).body;
        }
        return body;
    }
    static std::string toolbar() {
        const std::string& b = answer();
        auto from = b.find("BEFORE|"), to = b.find("|AFTER");
        if (from == std::string::npos || to == std::string::npos) return "";
        return b.substr(from + 7, to - from - 7);
    }
};

}  // namespace

TEST_F(InputBoxTest, WrittenInPlaceAsOneTable) {
    const std::string bar = toolbar();
    ASSERT_FALSE(bar.empty()) << answer();
    EXPECT_TRUE(bar.starts_with("<table")) << bar;
    EXPECT_TRUE(without_cr(bar).ends_with("</table>\n"));
    EXPECT_EQ(count(bar, "<table"), 1);
    EXPECT_EQ(count(bar, "\n"), count(bar, "\r\n")) << "every line ends in CR LF";
    std::vector<Tag> tags = tags_of(bar);
    ASSERT_FALSE(tags.empty());
    const Tag& table = tags[0];
    EXPECT_EQ(table.at("WIDTH"), "530");
    EXPECT_EQ(table.at("BGCOLOR"), "RGB(198,195,198)");
    EXPECT_EQ(table.at("BORDER"), "0");
    EXPECT_EQ(table.at("CELLSPACING"), "0");
    EXPECT_EQ(tags[1].name, "TR");
    EXPECT_EQ(tags[1].at("HEIGHT"), "30");
    int toolbars = 0;
    for (const Tag& t : tags) {
        if (t.name == "TD") {
            EXPECT_EQ(t.at("WIDTH"), "30");
        }
        if (t.at("CLASS") == "yToolbar") {
            ++toolbars;
            EXPECT_TRUE(t.at("ID") == "FormatToolbar" || t.at("ID") == "ParaToolbar") << t.at("ID");
        }
    }
    EXPECT_EQ(toolbars, 2);
    EXPECT_EQ(answer().find("Error"), std::string::npos) << answer();
}

TEST_F(InputBoxTest, ThirteenButtonsWithTitlesCallsAndThreeImageStates) {
    struct Expected {
        const char* title;
        const char* call;
        const char* image;
    };
    const std::vector<Expected> expected = {
        {"剪切", "RunCom('cut')", "cut"},           {"复制", "RunCom('copy')", "copy"},
        {"粘贴", "RunCom('paste')", "paste"},       {"粗体", "RunCom('bold')", "bold"},
        {"斜体", "RunCom('italic')", "italic"},     {"下划线", "RunCom('underline')", "under"},
        {"向左对齐", "RunCom('justifyleft')", "aleft"}, {"向中对齐", "RunCom('justifycenter')", "center"},
        {"向右对齐", "RunCom('justifyright')", "aright"}, {"加入超连接", "createLink()", "wlink"},
        {"导入图片", "insertImage()", "img"},       {"插入Flash", "insertFlash()", "flash"},
        {"插入表格", "creatTable()", "table"},
    };
    std::vector<Tag> tags = tags_of(toolbar());
    // a button is a DIV with a title whose next tag is its icon
    std::vector<std::pair<Tag, Tag>> buttons;
    for (std::size_t i = 0; i + 1 < tags.size(); ++i)
        if (tags[i].name == "DIV" && tags[i + 1].name == "IMG") buttons.emplace_back(tags[i], tags[i + 1]);
    ASSERT_EQ(buttons.size(), expected.size());
    const std::filesystem::path img = std::filesystem::path(TAVELOR_TEMPLATE_DIR) / "img";
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto& [div, icon] = buttons[i];
        const Expected& e = expected[i];
        SCOPED_TRACE(e.title);
        EXPECT_EQ(div.at("TITLE"), e.title);
        EXPECT_EQ(div.at("ONCLICK"), e.call);
        EXPECT_EQ(icon.at("CLASS"), "Ico");
        EXPECT_EQ(icon.at("SRC"), std::string("img/") + e.image + ".gif");
        // the paste DIV alone goes without the button class
        EXPECT_EQ(div.at("CLASS"), std::string(e.image) == "paste" ? "" : "Btn");
        EXPECT_EQ(div.at("NAME"), std::string(e.call).starts_with("RunCom('justify") ? "Justify" : "");
        for (const char* state : {"", "1", "2"})
            EXPECT_TRUE(std::filesystem::exists(img / (std::string(e.image) + state + ".gif"))) << e.image << state;
    }
}

TEST_F(InputBoxTest, SelectsHoldEveryOptionWithThePlaceholderFirst) {
    std::vector<Tag> tags = tags_of(toolbar());
    struct Select {
        const char* id;
        const char* title;
        const char* change;
        std::size_t options;
        const char* first_value;
        const char* first_label;
    };
    const std::vector<Select> selects = {
        {"FontName", "字体名称", "RunCom('fontname',this.value)", 15, "font", "字 体"},
        {"FontSize", "字体大小", "RunCom('fontsize',this.value)", 8, "fontsize", "字号"},
        {"fColor", "字体颜色", "foreColor()", 25, "color", "字体颜色"},
    };
    for (const Select& s : selects) {
        SCOPED_TRACE(s.id);
        const Tag* sel = nullptr;
        for (const Tag& t : tags)
            if (t.name == "SELECT" && t.at("ID") == s.id) sel = &t;
        ASSERT_NE(sel, nullptr);
        EXPECT_EQ(sel->at("CLASS"), "TBGen");
        EXPECT_EQ(sel->at("TITLE"), s.title);
        EXPECT_EQ(sel->at("ONCHANGE"), s.change);
        std::vector<Tag> opts = options_of(tags, s.id);
        ASSERT_EQ(opts.size(), s.options);
        EXPECT_EQ(opts[0].at("VALUE"), s.first_value);
        EXPECT_EQ(opts[0].text, s.first_label);
        int selected = 0;
        for (const Tag& o : opts) selected += o.has("SELECTED");
        EXPECT_EQ(selected, 1);
        EXPECT_TRUE(opts[0].has("SELECTED"));
    }

    std::map<std::string, std::string> fonts;
    for (const Tag& o : options_of(tags, "FontName")) fonts[o.at("VALUE")] = o.text;
    const std::vector<std::pair<std::string, std::string>> some_fonts = {
        {"宋体", "宋 体"}, {"楷体_GB2312", "楷 体"}, {"仿宋_GB2312", "仿宋体"}, {"隶书", "隶 书"},
        {"Times New Roman", "NewRoman"}, {"Arial", "Arial"}, {"Kantipur", "Kantipur"},
    };
    for (const auto& [value, label] : some_fonts) EXPECT_EQ(fonts[value], label) << value;

    std::vector<Tag> sizes = options_of(tags, "FontSize");
    for (int n = 1; n <= 7; ++n) {
        EXPECT_EQ(sizes[n].at("VALUE"), std::to_string(n));
        EXPECT_EQ(sizes[n].text, std::to_string(n) + "号");
    }

    std::vector<Tag> colours = options_of(tags, "fColor");
    const std::regex hex("#[0-9a-f]{6}");
    for (std::size_t i = 1; i + 1 < colours.size(); ++i) {
        const std::string v = colours[i].at("VALUE");
        EXPECT_TRUE(std::regex_match(v, hex)) << v;
        EXPECT_EQ(colours[i].at("STYLE"), "background:" + v);
    }
    EXPECT_EQ(colours[1].at("VALUE"), "#666666");
    EXPECT_EQ(colours[23].at("VALUE"), "#cc33ff");
    EXPECT_EQ(colours.back().at("VALUE"), "more");
    EXPECT_EQ(colours.back().text, "更多颜色");
}

TEST_F(InputBoxTest, EditModeCheckboxSwitchesTheMode) {
    std::vector<Tag> tags = tags_of(toolbar());
    std::size_t i = 0;
    while (i < tags.size() && tags[i].at("ID") != "EditMode") ++i;
    ASSERT_LT(i + 2, tags.size());
    EXPECT_EQ(tags[i].name, "DIV");
    EXPECT_EQ(tags[i].at("CLASS"), "TBGen");
    EXPECT_EQ(tags[i].at("TITLE"), "编辑模式");
    const Tag& box = tags[i + 1];
    EXPECT_EQ(box.at("TYPE"), "checkbox");
    EXPECT_EQ(box.at("NAME"), "switchMode");
    EXPECT_EQ(box.at("ONCLICK"), "setMode(switchMode.checked)");
    EXPECT_EQ(tags[i + 2].text, "书写HTML源代码");
    EXPECT_NE(tags[i + 2].at("STYLE").find("11pt"), std::string::npos);
}

// The browser test's fixture carries this very markup; it must not drift.
TEST_F(InputBoxTest, BrowserFixtureHoldsTheSameMarkup) {
    const auto fixture = std::filesystem::path(TAVELOR_TEMPLATE_DIR) / ".." / "tests" / "e2e" / "fixtures" / "editor_toolbar.html";
    ASSERT_TRUE(std::filesystem::exists(fixture)) << fixture;
    EXPECT_EQ(without_cr(slurp(fixture)), without_cr(toolbar()));
}
