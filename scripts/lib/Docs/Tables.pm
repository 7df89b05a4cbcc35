# Tables of documents that repeat what headers, sources or programs say.
package Docs::Tables;
use strict;
use warnings;
use Docs::Common;
use Docs::Document;
use Docs::Programs;
use Docs::Run;
use Exporter 'import';
use File::Find;
use JSON::PP;

our @EXPORT = qw(check_tables check_members check_settings);

# check_tables($documents): by path; tables of documents that are not among them are left out.
sub check_tables {
    my ($documents) = @_;
    my @types = values_of_enum('Code');
    my ($call, $gateway) = (manual('qzcall'), manual('qzgateway'));
    my ($arguments) = $call =~ /^Argument, in order: (.*)/m;
    my ($forms) = $call =~ /^What the file holds.*: (.*)/m;
    my @methods = section_of($gateway, 'OPERATIONS OF THE INTERFACE DEMO') =~ /^(\w+) .*  /mg;
    my @pages = section_of($gateway, 'PAGES OF THE PORTAL, UNDER THE SAME URL') =~ /^\?b_action=xts\.run&m=(\S+)/mg;
    my $whole = sub { join ' = ', @{ $_[0] } };
    for (['docs/guide/errors.md', 'error code', [ 'Code', 'Number' ], $whole, [ values_of_enum('qzErrorCode') ]],
        ['docs/guide/arguments.md', 'type', [ 'Type', 'Code' ], $whole, \@types],
        ['docs/wire-format.md', 'type', [ 'Name', 'Code' ], $whole, \@types],
        ['docs/tools.md', 'exit code', ['Exit code'], $whole, [ section_of($call, 'EXIT STATUS') =~ /^(\d+)$/mg ]],
        ['docs/tools.md', 'form of an argument', [ 'Written as', 'Sent as' ], \&words_of_row,
            [ ($arguments // '') =~ /(\w+):/g ]],
        ['docs/tools.md', 'form of a file', ['--as'], $whole, [ ($forms // '') =~ /(\w+)/g ]],
        ['docs/tools.md', 'method', ['Method'], $whole, \@methods],
        ['docs/tools.md', 'page of the portal', ['Query goes on with'], $whole, \@pages]) {
        my ($path, $what, $columns, $values, $real) = @$_;
        my $document = $documents->{$path} or next;
        compare_sets($path, $what, [ map { $values->($_) } rows_of_table($document, @$columns) ], $real);
    }
}

# "NAME = NUMBER" of each.
sub values_of_enum {
    my ($name) = @_;
    my ($body) = slurp("$root/include/QzTypes.h") =~ /enum $name\b[^{]*\{(.*?)\}/s or die "check-docs: no enum $name\n";
    return $body =~ /^\s*(\w+ = -?\d+)/mg;
}

# The words that a row's first cell explains: "long:N, short:N" are "long" and "short".
sub words_of_row { my ($row) = @_; return $row->[0] =~ /(?:^|, )(\w+)/g }

# The members that a script of the gateway may have are those that it names where it meets another one.
sub check_members {
    my ($document) = @_;
    my $workshop = make_workshop('members');
    spew("$workshop/script.json", '{"?": 0, "rules": [{"?": 0, "reply": {"?": 0}}]}');
    my (undef, $said) = run_script($workshop, "scripts/wine-run dist/bin/qzgateway.exe --script script.json --check\n");
    my @lists = $said =~ /there may be (.*)/g;
    fault('qzgateway --check', "names the members of @{[scalar @lists]} objects instead of 3:\n$said") if @lists != 3;
    compare_sets($document->{path}, 'member of a script',
        [ map { words_of_row($_) } rows_of_table($document, 'Member') ], [ map { split /, /, s/\s+$//r } @lists ]);
}

sub compare_sets {
    my ($path, $what, $documented, $real) = @_;
    counted('tables');
    my %documented = map { $_ => 1 } @$documented;
    my %real = map { $_ => 1 } @$real;
    fault($path, "does not name the $what $_") for sort grep { !$documented{$_} } keys %real;
    fault($path, "names what is no $what: $_") for sort grep { !$real{$_} } keys %documented;
    fault($path, "no $what found") if !%real;
}

sub sources {
    my @found;
    find({ no_chdir => 1, wanted => sub { push @found, $_ if /\.(h|cpp)$/ } },
        map { "$root/$_" } qw(References RuntimeEngine R7ITK include));
    return @found;
}

# The keys of ini files that the code reads or writes: words, constants of the same file, and what a layer names.
sub keys_of_code {
    my %keys;
    for my $path (sources()) {
        my $code = slurp($path);
        my %constant = $code =~ /constexpr const char\*(?: const)? (\w+) = "(\w+)"/g;
        $keys{$1} = 1 while $code =~ /\.logFileKey = "(\w+)"/g;
        next if $code !~ /IniKey(?:Int|String)|readSwitch/;
        while ($code =~ /\b(?:[gs]etIniKey(?:Int|String)|readSwitch)\(\s*([^,)]+)/g) {
            my $key = $1;
            if ($key =~ /^"(\w+)"$/) { $keys{$1} = 1 }
            elsif ($constant{$key}) { $keys{ $constant{$key} } = 1 }
            elsif ($key !~ /^(?:const char\* )?key$|^layer_\.logFileKey$/) {
                fault(below_root($path), "cannot tell which key of an ini file this is: $key");
            }
        }
    }
    return sort keys %keys;
}

# The table of settings: the keys are those of the code; section, face and default of each are what the program finds in a
# new install tree.
sub check_settings {
    my ($document) = @_;
    my @rows = rows_of_table($document, qw(Key Section Default));
    my @keys = keys_of_code();
    compare_sets($document->{path}, 'key of an ini file', [ map { $_->[0] } @rows ], \@keys);
    my %found = settings_of_new_tree();
    compare_sets('qzcall doctor', 'key of an ini file', [ keys %found ], \@keys);
    for (@rows) {
        my ($key, $section, $default) = @$_;
        my $real = $found{$key} or next;
        fault($document->{path}, "the key $key is in the section '$real->{section}', not '$section'")
            if $section ne $real->{section};
        fault($document->{path}, "the default of $key is '$real->{value}', not '$default'")
            if $default =~ /^(?:-?\d+|<root>.*)$/ && $key ne 'Version' && $default ne $real->{value};
    }
}

# Key => { section, value } as the document writes them: the section's kind, and the face where there is only one.
sub settings_of_new_tree {
    my $workshop = make_workshop('settings');
    my ($code, $printed) = run_script($workshop, "scripts/qzcall doctor --json\n");
    my $said = eval { decode_json($printed) };
    if ($code != 0 || !$said) { fault('qzcall doctor --json', "exit code $code:\n$printed"); return }
    my (%found, %faces);
    for (@{ $said->{settings} }) {
        $found{ $_->{key} } = { section => $_->{section} =~ / Common$/ ? 'common' : 'tracing',
            value => $_->{value} =~ s/.*\\dist\\(?=Logs\\)/<root>\\/r };
        push @{ $faces{ $_->{key} } }, $_->{face};
    }
    for (grep { @{ $faces{$_} } == 1 } keys %faces) {
        $found{$_}{section} .= ", $faces{$_}[0]" . ($faces{$_}[0] eq 'flat' ? ' face' : '') . ' only';
    }
    return %found;
}

1;
