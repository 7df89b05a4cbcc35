# The picture in README.md: the terminal after the commands that it shows.
package Docs::Picture;
use strict;
use warnings;
use Docs::Common;
use Exporter 'import';

our @EXPORT = qw(check_picture);

my $picture = 'docs/first-calls.svg';

# check_picture($shown, $write): commands and what they printed, in turn.
sub check_picture {
    my ($shown, $write) = @_;
    my $made = picture_of(@$shown);
    return spew("$root/$picture", $made) if $write;
    fault($picture, 'shows another run than README.md; make it again: scripts/check-docs --picture')
        if !-e "$root/$picture" || slurp("$root/$picture") ne $made;
}

# As SVG. What the gateway makes up for each session is masked.
sub picture_of {
    my @rows;
    while (my ($commands, $printed) = splice @_, 0, 2) {
        push @rows, [ command => "\$ $_" ] for split /\n(?!\s)/, $commands;
        push @rows, map { [ kind_of_row($_), $_ ] } lines_of($printed =~ s/(demo:)[0-9a-z]{32,}/$1.../gr), '';
    }
    @rows = map { my ($kind, $text) = @$_; map { [ $kind, $_ ] } $text eq '' ? '' : split /\n/, $text } @rows;
    pop @rows;
    my ($width, $height) = (980, 30 + 20 * @rows);
    my $y = 10;
    my $row = qq(<text class="%s" x="20" y="%d">%s</text>\n);
    my $text = join '', map { sprintf $row, $_->[0], $y += 20, escaped($_->[1]) } @rows;
    return <<"SVG";
<svg xmlns="http://www.w3.org/2000/svg" role="img"
  width="$width" height="$height" viewBox="0 0 $width $height">
<title>Calls from the command line, and what they print</title>
<style>
text { font: 14px ui-monospace, Consolas, "DejaVu Sans Mono", monospace; fill: #c9d1d9 }
.command { fill: #79c0ff } .good { fill: #7ee787 } .bad { fill: #ff7b72 }
</style>
<rect width="$width" height="$height" rx="8" fill="#0d1117"/>
$text</svg>
SVG
}

sub kind_of_row {
    my ($row) = @_;
    return $row =~ /^  outcome +success/ ? 'good' : $row =~ /^  (outcome|error) / ? 'bad' : 'plain';
}

# Spaces that no viewer joins.
sub escaped { return $_[0] =~ s/&/&amp;/gr =~ s/</&lt;/gr =~ s/>/&gt;/gr =~ s/ /&#160;/gr }

1;
