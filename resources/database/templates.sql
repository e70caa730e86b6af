-- SPDX-License-Identifier: GPL-3.0-or-later
-- A template DEFAULT for each message type, ready to be sent.
INSERT INTO tblMailMessages (MessageID, Type, Template, Subject, Body, LastModified) VALUES
(1, 1, 'DEFAULT', 'Link exchange between [My Site Title] and [Partner Title]', 'Hello [Partner Name],

I look after [My Site Title] ([My Home Page]) and came across [Partner Title] today. I think our visitors have a good deal in common, and I would like to suggest that our sites link to each other.

If you agree, please add this link to your links page:

[My Text Link HTML]

[My Instructions]

Let me know the address of the page, and I will add [Partner Home Page] to mine:

[My Link Page]

Thank you for your time, and kind regards,

[My Signature]', '2026-01-05 09:00:00'),

(2, 2, 'DEFAULT', 'Reminder: link exchange with [My Site Title]', 'Hello [Partner Name],

some time ago I wrote to you to suggest a link exchange between [Partner Title] and [My Site Title] ([My Home Page]). Perhaps my message got lost, so here is the offer once more.

This is the link I would like to see on your links page:

[My Text Link HTML]

Your link will go on this page of mine:

[My Link Page]

If you are not interested, a short answer is enough and you will not hear from me again.

Kind regards,

[My Signature]', '2026-01-05 09:00:00'),

(3, 3, 'DEFAULT', 'Your link is on [My Site Title]', 'Hello [Partner Name],

I have just added [Partner Title] to the links page of [My Site Title]. You find it here:

[My Link Page]

The entry reads:

[Partner Title]
[Partner Home Page]
[Partner Description]

Please have a look and tell me if anything should be changed. I would be glad if you could put a link to my site on your page in return:

[My Text Link HTML]

Kind regards,

[My Signature]', '2026-01-05 09:00:00'),

(4, 4, 'DEFAULT', 'Re: link to [Partner Title]', 'Hello [Partner Name],

thank you for your suggestion to exchange links with [My Site Title]. I am happy to accept it.

Your link is now on [My Link Page]. As soon as mine is on [Partner Link Page], nothing is left to do: I look at all links from time to time and will write if one of them cannot be found.

Kind regards,

[My Signature]', '2026-01-05 09:00:00'),

(5, 5, 'DEFAULT', 'I could not find my link on [Partner Title]', 'Hello [Partner Name],

when I checked the links of [My Site Title] today, I could not find mine on your page:

[Partner Link Page]

The last time I saw it there was [Last Successful Test]. Has the page been moved, or did the link get lost in a redesign? This is the link:

[My Text Link HTML]

Your link is still on [My Link Page]. I would be glad if you could put mine back, or send me the new address of the page.

Kind regards,

[My Signature]', '2026-01-05 09:00:00'),

(6, 6, 'DEFAULT', 'Your link on [My Site Title] has been removed', 'Hello [Partner Name],

I have looked for my link on [Partner Link Page] several times without success, and have therefore taken [Partner Title] off the links page of [My Site Title].

Should this have been a misunderstanding, please write to me at [My E-mail]: your link can be back within a day.

Kind regards,

[My Signature]', '2026-01-05 09:00:00'),

(7, 7, 'DEFAULT', 'Re: link to [Partner Title]', 'Hello [Partner Name],

thank you for your interest in exchanging links with [My Site Title].

I have looked at [Partner Home Page] and think that our sites are too different for our visitors to profit from the exchange, so I would rather not add the link. I hope you understand.

I wish you every success with [Partner Title].

Kind regards,

[My Signature]', '2026-01-05 09:00:00'),

(8, 8, 'DEFAULT', 'News from [My Site Title]', 'Hello [Partner Name],

our sites [My Site Title] and [Partner Title] link to each other, so I would like to let you know what is new:

(write your news here)

My pages are still these; please tell me if any of yours has changed:

Home page: [My Home Page]
Links page: [My Link Page]

Kind regards,

[My Signature]', '2026-01-05 09:00:00');
