// The tree: walking, looking up, making and taking out.
#include <gtest/gtest.h>

#include "platform/Xml.h"

namespace velmora::test {

namespace {

using platform::XmlAttribute;
using platform::XmlDocument;
using platform::XmlNode;

class XmlTree : public testing::Test {
protected:
    XmlNode Load(std::string_view bytes)
    {
        EXPECT_TRUE(document_->LoadBytes(bytes)) << document_->ParseError().reason;
        return document_->DocumentElement();
    }
    std::vector<std::string> Texts(const XmlNode& node, const std::string& expression)
    {
        std::vector<std::string> texts;
        for (const XmlNode& found : node.SelectNodes(expression)) texts.push_back(found.Text());
        return texts;
    }
    const std::unique_ptr<XmlDocument> document_ = XmlDocument::Create();
};

using Strings = std::vector<std::string>;

template <typename Action>
uint32_t CodeRaisedBy(Action action)
{
    try {
        action();
    } catch (const ComError& error) {
        EXPECT_FALSE(error.meaning.empty());
        return error.code;
    }
    return 0;
}

TEST_F(XmlTree, ElementsAreWalkedInTheFilesOrder)
{
    const XmlNode root = Load("<r> x<a/>\n<!-- c --><b>1</b><?p?><c><d/></c><![CDATA[y]]></r>");
    EXPECT_EQ(root.Name(), "r");
    XmlNode child = root.FirstElement();
    Strings names;
    for (; child; child = child.NextElement()) names.push_back(child.Name());
    EXPECT_EQ(names, (Strings{"a", "b", "c"}));
    EXPECT_FALSE(root.NextElement());
    EXPECT_FALSE(root.FirstElement().FirstElement());
}

TEST_F(XmlTree, TextIsThatOfAllBelowWithoutCommentsAndInstructions)
{
    const XmlNode root = Load("<r> 1<a>2<b>3</b></a><!-- c --><?p q?><![CDATA[ <4> ]]>5&amp; </r>");
    EXPECT_EQ(root.Text(), " 123 <4> 5& ");
    EXPECT_EQ(root.FirstElement().Text(), "23");
}

TEST_F(XmlTree, NoWhiteSpaceIsTrimmed)
{
    const XmlNode root = Load("<r><a> </a><b>\n\t</b><c>  x  </c><d> <![CDATA[ ]]></d></r>");
    EXPECT_EQ(root.FirstElement().Text(), " ");
    EXPECT_EQ(root.SelectSingleNode("b").Text(), "\n\t");
    EXPECT_EQ(root.SelectSingleNode("c").Text(), "  x  ");
    EXPECT_EQ(root.SelectSingleNode("d").Text(), "  ");
    EXPECT_EQ(root.Text(), " \n\t  x    ");
}

TEST_F(XmlTree, AttributesComeInTheFilesOrder)
{
    const XmlNode root = Load("<r zz='1' a='' m='x&#228;&quot;'/>");
    const std::vector<XmlAttribute> attributes = root.Attributes();
    ASSERT_EQ(attributes.size(), 3u);
    EXPECT_EQ(attributes[0].name + "=" + attributes[0].text, "zz=1");
    EXPECT_EQ(attributes[1].name + "=" + attributes[1].text, "a=");
    EXPECT_EQ(attributes[2].name + "=" + attributes[2].text, "m=x\xE4\"");
    EXPECT_EQ(root.Attribute("a"), "");
    EXPECT_EQ(root.Attribute("zz"), "1");
    EXPECT_EQ(root.Attribute("ZZ"), std::nullopt);
    EXPECT_EQ(root.Attribute("none"), std::nullopt);
}

TEST_F(XmlTree, ChildNodesAreCountedWithoutWhiteSpace)
{
    EXPECT_EQ(Load("<r/>").ChildNodeCount(), 0u);
    EXPECT_EQ(Load("<r> \n\t</r>").ChildNodeCount(), 0u);
    EXPECT_EQ(Load("<r> <a/> <b><c/></b>\n</r>").ChildNodeCount(), 2u);
    EXPECT_EQ(Load("<r> <!-- c --> <?p?> <a/> x </r>").ChildNodeCount(), 4u);
}

TEST_F(XmlTree, NamespacesArePlainNames)
{
    const XmlNode root = Load("<n:r xmlns:n='u' n:q='1' xmlns='v' :a:b='2'><c/><m:d undeclared:e='3'>4</m:d></n:r>");
    EXPECT_EQ(root.Name(), "n:r");
    Strings names;
    for (const XmlAttribute& attribute : root.Attributes()) names.push_back(attribute.name + "=" + attribute.text);
    EXPECT_EQ(names, (Strings{"xmlns:n=u", "n:q=1", "xmlns=v", ":a:b=2"}));
    EXPECT_EQ(root.Attribute("n:q"), "1");
    EXPECT_EQ(root.Attribute("xmlns"), "v");
    EXPECT_TRUE(root.SelectSingleNode("c"));
    EXPECT_EQ(root.SelectSingleNode("m:d").Text(), "4");
    EXPECT_EQ(root.SelectSingleNode("m:d[@undeclared:e='3']").Text(), "4");
    EXPECT_EQ(root.SelectSingleNode("child::c[. = '']").Name(), "c");
    EXPECT_EQ(document_->ToBytes(), "<n:r xmlns:n=\"u\" n:q=\"1\" xmlns=\"v\" :a:b=\"2\"><c/><m:d undeclared:e=\"3\">4</m:d></n:r>");
}

TEST_F(XmlTree, FoldersOfAFolderIndexAreFound)
{
    const XmlNode root = Load(
        "<folderindex><folder><name><![CDATA[Inbox]]></name></folder><x/>\n<folder><name>a &amp; b</name></folder>"
        "<deep><folder><name>no</name></folder></deep></folderindex>");
    EXPECT_EQ(Texts(root, "./folder"), (Strings{"Inbox", "a & b"}));
    EXPECT_EQ(Texts(root, "//folderindex/folder"), (Strings{"Inbox", "a & b"}));
    EXPECT_EQ(Texts(root, "//folder"), (Strings{"Inbox", "a & b", "no"}));
    EXPECT_EQ(root.FirstElement().SelectSingleNode("name").Text(), "Inbox");
    EXPECT_FALSE(root.SelectSingleNode("name"));
    EXPECT_TRUE(Texts(root, "//Folder").empty());
}

TEST_F(XmlTree, ElementsOfAnIndexAreFound)
{
    const XmlNode root =
        Load("<BASEELEMENT LASTUID='x00000002'><ELEMENT ID='a' UID='1'/><ELEMENT ID='b' UID='2'><S>t</S></ELEMENT></BASEELEMENT>");
    EXPECT_EQ(root.SelectNodes("//BASEELEMENT/ELEMENT").size(), 2u);
    EXPECT_EQ(root.SelectSingleNode("/BASEELEMENT/ELEMENT[@ID='b']/S").Text(), "t");
}

TEST_F(XmlTree, SharesAreFoundByTheTextOfAChildOrAnAttribute)
{
    const XmlNode root =
        Load("<SHARES><SHARE><RESOURCE>/Inbox</RESOURCE></SHARE><SHARE/><SHARE><RESOURCE>/Inbox/x</RESOURCE><n>2</n></SHARE></SHARES>");
    EXPECT_EQ(root.SelectNodes("//SHARES/SHARE").size(), 3u);
    EXPECT_EQ(root.SelectSingleNode("//SHARES/SHARE[RESOURCE='/Inbox/x']").Text(), "/Inbox/x2");
    EXPECT_FALSE(root.SelectSingleNode("//SHARES/SHARE[RESOURCE='/inbox/x']"));
    const XmlNode list = Load("<LIST><ITEM URI='SF:po/box/Inbox' USER='a'/><ITEM URI='SF:po/box/Inbox/y'>t</ITEM></LIST>");
    EXPECT_EQ(list.SelectSingleNode("//LIST/ITEM[@URI='SF:po/box/Inbox/y']").Text(), "t");
    EXPECT_FALSE(list.SelectSingleNode("//LIST/ITEM[@URI='SF:po/box']"));
}

TEST_F(XmlTree, ALookUpMeetsBytesHoweverTheFileHasThem)
{
    // Bytes of their own numbers; the letters of Windows-1252; UTF-8.
    EXPECT_TRUE(Load("<r><a>\xC3\xA4&#x80;</a></r>").SelectSingleNode("//a[.='\xE4\x80']"));
    EXPECT_TRUE(Load("<r><a>\xC3\xA4\xE2\x82\xAC</a></r>").SelectSingleNode("//a[.='\xE4\x80']"));
    EXPECT_TRUE(Load("<r><a>\xC3\xA4\xE4\xB8\xAD</a></r>").SelectSingleNode("//a[.='\xE4\xE4\xB8\xAD']"));
    EXPECT_TRUE(Load("<r><a>&#1;&#13;</a></r>").SelectSingleNode("//a[.='\x01\r']"));
    EXPECT_FALSE(Load("<r><a>\xC3\xA4</a></r>").SelectSingleNode("//a[.='\x84']"));
}

TEST_F(XmlTree, AnExpressionThatDoesNotParseRaises)
{
    const XmlNode root = Load("<r><a>it's</a></r>");
    for (const char* const expression : {"//a[.='it's']", "//a[", "", "//", "a b", "'x"}) {
        EXPECT_NE(CodeRaisedBy([&] { (void)root.SelectSingleNode(expression); }), 0u) << expression;
        EXPECT_NE(CodeRaisedBy([&] { (void)root.SelectNodes(expression); }), 0u) << expression;
    }
    // Not a set of nodes.
    EXPECT_NE(CodeRaisedBy([&] { (void)root.SelectNodes("1 + 1"); }), 0u);
    // The document is as it was.
    EXPECT_EQ(root.SelectSingleNode("//a[.=\"it's\"]").Text(), "it's");
}

TEST_F(XmlTree, OnlyElementsAreSelected)
{
    const XmlNode root = Load("<r b='1'>t<!-- c --><a/></r>");
    EXPECT_TRUE(root.SelectNodes("@b").empty());
    EXPECT_TRUE(root.SelectNodes("text()").empty());
    ASSERT_EQ(root.SelectNodes("node()").size(), 1u);
    EXPECT_EQ(root.SelectNodes("node()").front().Name(), "a");
}

TEST_F(XmlTree, ANodeThatIsNotThereHasNothing)
{
    const XmlNode none = document_->DocumentElement();
    EXPECT_FALSE(none);
    EXPECT_EQ(none.Name(), "");
    EXPECT_EQ(none.Text(), "");
    EXPECT_TRUE(none.Attributes().empty());
    EXPECT_EQ(none.Attribute("a"), std::nullopt);
    EXPECT_FALSE(none.FirstElement());
    EXPECT_FALSE(none.NextElement());
    EXPECT_EQ(none.ChildNodeCount(), 0u);
    constexpr uint32_t kPointer = 0x80004003;
    XmlNode changed;
    EXPECT_EQ(CodeRaisedBy([&] { (void)none.SelectSingleNode("a"); }), kPointer);
    EXPECT_EQ(CodeRaisedBy([&] { (void)none.SelectNodes("a"); }), kPointer);
    EXPECT_EQ(CodeRaisedBy([&] { changed.AppendElement("a"); }), kPointer);
    EXPECT_EQ(CodeRaisedBy([&] { changed.AppendElement("a", "b"); }), kPointer);
    EXPECT_EQ(CodeRaisedBy([&] { changed.SetAttribute("a", "b"); }), kPointer);
    EXPECT_EQ(CodeRaisedBy([&] { changed.RemoveChild(none); }), kPointer);
}

TEST_F(XmlTree, ACopyOfANodeIsTheSameNode)
{
    const XmlNode root = Load("<r><a/></r>");
    XmlNode copy = root.FirstElement();
    XmlNode other(copy);
    other = XmlNode(copy);
    other.SetAttribute("x", "1");
    const XmlNode moved(std::move(other));
    EXPECT_EQ(copy.Attribute("x"), "1");
    EXPECT_EQ(moved.Attribute("x"), "1");
    copy = root;
    EXPECT_EQ(copy.Name(), "r");
}

TEST_F(XmlTree, ADocumentIsMade)
{
    XmlNode root = document_->CreateRoot("BASEELEMENT");
    EXPECT_EQ(document_->ToBytes(), "<BASEELEMENT/>");
    root.SetAttribute("LASTUID", "x00000001");
    XmlNode element = root.AppendElement("ELEMENT");
    element.SetAttribute("ID", "a<b>\"&'");
    element.SetAttribute("UID", "0");
    element.SetAttribute("UID", "1");
    EXPECT_TRUE(element.AppendElement("EMPTY", ""));
    EXPECT_EQ(element.AppendElement("TEXT", " <&>\"' ").Text(), " <&>\"' ");
    root.AppendElement("BARE");
    const std::string bytes = document_->ToBytes();
    EXPECT_EQ(bytes,
              "<BASEELEMENT LASTUID=\"x00000001\"><ELEMENT ID=\"a&lt;b&gt;&quot;&amp;'\" UID=\"1\"><EMPTY></EMPTY>"
              "<TEXT> &lt;&amp;&gt;\"' </TEXT></ELEMENT><BARE/></BASEELEMENT>");
    const XmlNode again = Load(bytes);
    EXPECT_EQ(again.FirstElement().Attribute("ID"), "a<b>\"&'");
    EXPECT_EQ(again.SelectSingleNode("ELEMENT/EMPTY").Text(), "");
    EXPECT_EQ(again.SelectSingleNode("ELEMENT/TEXT").Text(), " <&>\"' ");
}

TEST_F(XmlTree, ThereIsOneRoot)
{
    document_->CreateRoot("a");
    EXPECT_NE(CodeRaisedBy([&] { document_->CreateRoot("b"); }), 0u);
    EXPECT_EQ(document_->ToBytes(), "<a/>");
    ASSERT_TRUE(document_->LoadBytes("<c/>"));
    EXPECT_EQ(document_->ToBytes(), "<c/>");
}

TEST_F(XmlTree, ANameThatNoDocumentCanHoldRaises)
{
    XmlNode root = document_->CreateRoot("r");
    for (const char* const name : {"", "a b", "1a", "<", "a>", "a&", "a=", "\xD7", "a\x01"}) {
        EXPECT_NE(CodeRaisedBy([&] { root.AppendElement(name); }), 0u) << name;
        EXPECT_NE(CodeRaisedBy([&] { root.AppendElement(name, "x"); }), 0u) << name;
        EXPECT_NE(CodeRaisedBy([&] { root.SetAttribute(name, "x"); }), 0u) << name;
    }
    EXPECT_EQ(document_->ToBytes(), "<r/>");
    root.AppendElement("\xE4-1", "x");
    EXPECT_EQ(document_->ToBytes(), "<r><\xC3\xA4-1>x</\xC3\xA4-1></r>");
    EXPECT_EQ(root.FirstElement().Name(), "\xE4-1");
}

TEST_F(XmlTree, AChildIsTakenOutWithAllBelow)
{
    XmlNode root = Load("<r> <a><b/></a> <c/>\n</r>");
    root.RemoveChild(root.SelectSingleNode("a"));
    EXPECT_EQ(document_->ToBytes(), "<r>  <c/>\n</r>");
    EXPECT_EQ(root.ChildNodeCount(), 1u);
    root.RemoveChild(root.FirstElement());
    EXPECT_EQ(root.ChildNodeCount(), 0u);
    EXPECT_FALSE(root.FirstElement());
}

TEST_F(XmlTree, WhatIsNoChildIsNotTakenOut)
{
    XmlNode root = Load("<r><a><b/></a></r>");
    const auto other = XmlDocument::Create();
    ASSERT_TRUE(other->LoadBytes("<r><a/></r>"));
    constexpr uint32_t kArgument = 0x80070057;
    EXPECT_EQ(CodeRaisedBy([&] { root.RemoveChild(root.SelectSingleNode("a/b")); }), kArgument);
    EXPECT_EQ(CodeRaisedBy([&] { root.RemoveChild(root); }), kArgument);
    EXPECT_EQ(CodeRaisedBy([&] { root.RemoveChild(other->DocumentElement().FirstElement()); }), kArgument);
    EXPECT_EQ(document_->ToBytes(), "<r><a><b/></a></r>");
    EXPECT_EQ(other->ToBytes(), "<r><a/></r>");
}

TEST_F(XmlTree, WhatIsNotTouchedStaysAsItStood)
{
    const std::string bytes =
        "<?xml version=\"1.0\" standalone=\"yes\"?><!-- head --><?p q?><r xmlns:x=\"u\">\n  <a x:y=\"&#x20ac;\">&#x4e2d;</a>\n\t<!-- in -->"
        "<b/></r><!-- tail -->";
    Load(bytes);
    EXPECT_EQ(document_->ToBytes(), bytes);
}

TEST_F(XmlTree, ADeclarationLosesItsEncoding)
{
    Load("<?xml version='1.0' encoding='windows-1252'?>\r\n<r>\x80</r>\r\n");
    EXPECT_EQ(document_->ToBytes(), "<?xml version=\"1.0\"?><r>&#x20ac;</r>");
}

TEST_F(XmlTree, DocumentsAreApart)
{
    const auto other = XmlDocument::Create();
    const XmlNode root = Load("<a/>");
    ASSERT_TRUE(other->LoadBytes("<b/>"));
    EXPECT_EQ(root.Name(), "a");
    EXPECT_EQ(other->DocumentElement().Name(), "b");
}

}  // namespace

}  // namespace velmora::test
