#include "platform/styled_text.h"

#include <gtest/gtest.h>

namespace morvane {
namespace {

std::string textOf(std::string_view html) {
    return styledTextFromHtml(html).text;
}

TEST(StyledTextFromHtml, GivesTheTextOfAPage) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"  plain \n\t text ", "plain text"},
        {"a<br>b<BR/>c<br><br>d", "a\nb\nc\n\nd"},
        {"<p>one</p>\n<p>two<p>three", "one\ntwo\nthree"},
        {"<div><br></div>x", "\nx"},
        {"a<br></p><p>b", "a\nb"},
        {"<ul>\n<li>one</li>\n<li>two</ul>end", "one\ntwo\nend"},
        {"<table><tr><td>a</td><td>b</td></tr><tr><td>c</table>", "a b\nc"},
        {"a&nbsp;&nbsp;b", "a\u00A0\u00A0b"},
        {"<pre>a  b\r\nc</pre>d", "a  b\nc\nd"},
        {"&lt;b&gt; &amp;amp; &eacute; &#233;&#xE9; &euro; &hellip;", "<b> &amp; é éé € …"},
        {"&copy 2012 &euro 5 &unknown; &; &#; & &#xZ;", "© 2012 &euro 5 &unknown; &; &#; & &#xZ;"},
        {"&#147;x&#148; &#0;&#xD800;&#x110000;&#99999999999;", "“x” \uFFFD\uFFFD\uFFFD\uFFFD"},
        {"5 < 6 and 7<8 <3 <", "5 < 6 and 7<8 <3 <"},
        {"a<!-- <b>x</b> -->b<!doctype html><?php echo 1 ?>c<!-->d", "abcd"},
        {"a<script>if (1 < 2) \"</b>\";</SCRIPT >b<style>p {}</style>c<title>t</title>", "abc"},
        {"a<img alt=\"x > y\" src=\"i.png\">b", "ab"},
        {"a<b title='it''s", "a"},
        {"a</ b>c</>d</zz>e", "acde"},
        {"\xFFz\xC3", "\uFFFDz\uFFFD"},
    };
    for (const auto& [html, text] : rows) EXPECT_EQ(textOf(html), text) << html;
}

TEST(StyledTextFromHtml, BearsHostilePages) {
    const auto repeated = [](std::string_view part, int times) {
        std::string text;
        for (int i = 0; i < times; ++i) text += part;
        return text;
    };
    EXPECT_EQ(textOf(repeated("<div><b>", 20000) + "x" + repeated("</i></b>", 20000) + "y"), "xy");
    EXPECT_EQ(textOf(repeated("<", 1000)), std::string(1000, '<'));
    EXPECT_EQ(textOf(repeated("<a <!--", 100000)), "");
    const StyledText beyond = styledTextFromHtml("a&#x110000;&#xD800;b");
    EXPECT_EQ(beyond.text, "a\uFFFD\uFFFDb");
    EXPECT_EQ(beyond.runs.at(0).length, 4U) << "the runs sum to the text";
    EXPECT_EQ(textOf("a<b " + repeated("x=\"", 100000)), "a");
    EXPECT_EQ(textOf(std::string(5U << 20U, 'x')).size(), std::size_t{1} << 20U) << "the rest is dropped";
}

}  // namespace
}  // namespace morvane
