"""docs/troubleshooting.md has a section for every text of the program's log, and for no other."""

import collections
import unittest

import log_texts


class Sections(unittest.TestCase):
    def setUp(self):
        document = (log_texts.ROOT / "docs/troubleshooting.md").read_text()
        self.sections = log_texts.sections(document)
        self.texts = log_texts.texts_of_the_program()

    def test_every_text_has_its_section(self):
        self.assertEqual(self.texts - set(self.sections), set())

    def test_every_section_has_its_text(self):
        self.assertEqual(set(self.sections) - self.texts, set())

    def test_no_section_is_there_twice(self):
        self.assertEqual([text for text, count in collections.Counter(self.sections).items()
                          if count > 1], [])

    def test_what_is_said_indirectly_is_still_said(self):
        for name, argument in log_texts.INDIRECT:
            sources = [path.read_text() for path in log_texts.sources() if path.name == name]
            self.assertEqual(len(sources), 1, name)
            with self.assertRaises(ValueError, msg=f"{name}: {argument}"):
                log_texts.texts_of(name, sources[0], indirect={
                    key: texts for key, texts in log_texts.INDIRECT.items()
                    if key != (name, argument)})


class Reader(unittest.TestCase):
    def read(self, source):
        return log_texts.texts_of("Some.cpp", source, indirect={("Some.cpp", "line"): ("known",)})

    def test_texts_beside_the_call_are_found(self):
        self.assertEqual(self.read('logText("\\nDevice %@ gone\\n", name());'), ["Device … gone"])
        self.assertEqual(self.read('std::fputs("\\nsleeping", stdout);'), ["sleeping"])
        self.assertEqual(self.read('std::fprintf(stderr, "Name is %s\\n", name);'), ["Name is …"])
        self.assertEqual(self.read('log_.write(formatText("It failed: %@\\n", text));'),
                         ["It failed: …"])
        self.assertEqual(self.read('log.add("error!");'), ["error!"])
        self.assertEqual(self.read('logText("one "\n  "text");'), ["one text"])
        self.assertEqual(self.read('log_.write("It failed: " +\n  text);'), ["It failed: …"])

    def test_texts_that_are_known_by_their_name_are_found(self):
        self.assertEqual(self.read("log_.write(line);"), ["known"])

    def test_a_text_that_nobody_knows_is_an_error(self):
        for source in ("logText(what);", "log_.write(other);", "std::puts(text.c_str());",
                       "services_.log.write(*reason + \"\\n\");"):
            with self.subTest(source=source), self.assertRaises(ValueError):
                self.read(source)

    def test_sections_are_headings_that_quote(self):
        document = "### `a …`\n\ntext `b`\n\n## `c`\n\n### ``d `e` f``\n### g\n"
        self.assertEqual(log_texts.sections(document), ["a …", "d `e` f"])


if __name__ == "__main__":
    unittest.main()
