-- SPDX-License-Identifier: GPL-3.0-or-later
-- The tips of the day, shown in this order.
INSERT INTO tblTips (ID, Header, Body, HelpIndex) VALUES
    (1, 'Test a few links', 'Mark one or more links in the list and choose "Set for Test". "Test Links" then looks at those links only and leaves the others alone.', 112),
    (2, 'Test many links at once', '"Set Multiple Tests" puts every link of the statuses you tick into the test queue, for this site or for all of your sites.', 112),
    (3, 'What the coloured balls mean', 'A green ball: the last test found everything in place. A red one: a link or image was missing, or a page was not found. A yellow one: a page could not be judged. "Legend" shows all of them.', 313),
    (4, 'Sort with one click', 'A click on a column''s heading sorts the list by that column. A click on "Note" brings the natural order back.', 1),
    (5, 'Choose your columns', 'Which columns the list shows, and in which order, is up to you: drag their headings, or customise the list from its menu.', 105),
    (6, 'Hide what is over', 'Tick "Hide Inactive & Declined Tabs" to keep links that are no longer of interest out of the view of all links. They stay in the database.', 1),
    (7, 'Let your templates do the writing', 'A field tag such as [Partner Name] in a template is replaced by the partner''s own data when the message is sent. The template editor lists all tags.', 107),
    (8, 'Look before you send', '"Preview E-Mail" shows every queued message as the partner will get it. You can take single ones out of the queue there.', 109),
    (9, 'Why a test failed', 'Open a link''s properties: the last test result is told there in words, and the results log below the list has the whole story.', 302),
    (10, 'See the addresses', 'Tick "Include URL in results when testing links" and the results log names the pages by their addresses instead of their titles.', 302),
    (11, 'Stop at any time', 'The stop button ends a test within a second. Links that were not reached stay in the queue for the next run.', 301),
    (12, 'Work from the keyboard', 'Insert makes a new link, Enter opens the one you are on, and Delete removes it. In the list of sites the same keys work on sites.', 1),
    (13, 'Keep a diary', 'The comments of a link take a date and time stamp with one button: note down who answered when, and a note picture appears in the list.', 102);
