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

our @EXPORT = qw(check_tables check_settings);

# check_tables($documents): by path; tables of documents that are not among them are left out.
sub check_tables {
    my ($documents) = @_;
    my $types = slurp("$root/include/QzTypes.h");
    my ($codes) = $types =~ /enum qzErrorCode[^{]*\{(.*?)\}/s;
    my ($kinds) = $types =~ /enum Code[^{]*\{(.*?)\}/s;
    my @types = $kinds =~ /^\s*(DT_\w+ = \d+)/mg;
    my $help = manual('qzcall');
    my ($exits) = $help =~ /^\.SH EXIT STATUS\n(.*?)^\.SH/ms;
    my ($forms) = $help =~ /^Argument, in order: (.*)/m;
    my ($methods) = manual('qzgateway') =~ /^\.SH OPERATIONS OF THE INTERFACE DEMO\n(.*?)^\.SH/ms;
    for (['docs/guide/errors.md', 'error code', [ 'Code', 'Number' ], [ $codes =~ /^\s*(E_\w+ = -?\d+)/mg ]],
        ['docs/guide/arguments.md', 'type', [ 'Type', 'Code' ], \@types],
        ['docs/wire-format.md', 'type', [ 'Name', 'Code' ], \@types],
        ['docs/tools.md', 'exit code', ['Exit code'], [ ($exits // '') =~ /^(\d+)$/mg ]],
        ['docs/tools.md', 'form of an argument', [ 'Written as', 'Sent as' ], [ ($forms // '') =~ /(\w+):/g ]],
        ['docs/tools.md', 'method', [ 'Method', 'Arguments' ], [ ($methods // '') =~ /^(\w+) .*  /mg ]]) {
        my ($path, $what, $columns, $real) = @$_;
        my $document = $documents->{$path} or next;
        my @rows = rows_of_table($document, @$columns);
        compare_sets($path, $what, [ map { $what =~ /^(?:form|method)/ ? words_of_row($_) : join ' = ', @$_ } @rows ], $real);
    }
}

# The words that a row's first cell explains: "long:N, short:N" are "long" and "short".
sub words_of_row { my ($row) = @_; return $row->[0] =~ /(?:^|, )(\w+)/g }

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
        fault($document->{path}, "the key $key is in the section '$real->{section}', not '$section'") if $section ne $real->{section};
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
