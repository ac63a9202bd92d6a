#!/bin/sh
# The korb command: answers, usage errors (one line, exit 2), the processor-class override and
# the initial vector-math mode.
# usage: cli_test.sh <korb>
set -u
korb=$1
fails=0
passes=0

check() {  # check <description> <expected exit> <expected output pattern> <command...>
    desc=$1 want=$2 pattern=$3
    shift 3
    out=$("$@" 2>&1)
    got=$?
    if [ "$got" -eq "$want" ] && printf '%s\n' "$out" | grep -qE "$pattern"; then
        passes=$((passes + 1))
    else
        echo "FAIL: $desc: exit $got (want $want), output:"
        printf '%s\n' "$out" | sed 's/^/    /'
        fails=$((fails + 1))
    fi
}

one_line_error() {  # a usage error is exactly one line on standard error, nothing on stdout
    desc=$1
    shift
    err=$("$@" 2>&1 >/dev/null)
    got=$?
    out=$("$@" 2>/dev/null)
    if [ "$got" -eq 2 ] && [ "$(printf '%s\n' "$err" | wc -l)" -eq 1 ] && [ -z "$out" ]; then
        passes=$((passes + 1))
    else
        echo "FAIL: $desc: exit $got, stderr '$err', stdout '$out'"
        fails=$((fails + 1))
    fi
}

check "info" 0 '^kernel library class: [034] \(.*\)$' "$korb" info
check "class 0 forced" 0 '^kernel library class: 0 \(x86-64\)$' env KORB_DEBUG_CPU_TYPE=0 "$korb" info
check "info version" 0 '^korb [0-9]+\.[0-9]+\.[0-9]+$' "$korb" info
check "--version" 0 '^korb [0-9]+\.[0-9]+\.[0-9]+$' "$korb" --version
one_line_error "--version with an argument" "$korb" --version x
check "info detected" 0 '^processor class: [0-4] \(.*\), detected$' "$korb" info
check "forced class" 0 '^processor class: 2 \(avx\), forced by KORB_DEBUG_CPU_TYPE$' \
    env KORB_DEBUG_CPU_TYPE=2 "$korb" info
check "class libraries" 0 '^  libkorb_avx512\.so +class 4 \(x86-64-v4\), (runs here|needs a newer processor)$' \
    "$korb" info
check "class of the processor decides" 0 '^  libkorb_avx2\.so +class 3 \(x86-64-v3\), needs a newer' \
    env KORB_DEBUG_CPU_TYPE=0 "$korb" info
check "abc does not force" 0 'detected$' env KORB_DEBUG_CPU_TYPE=abc "$korb" info
check "7 is ignored" 0 'detected$' env KORB_DEBUG_CPU_TYPE=7 "$korb" info
check "vector-math mode default" 0 '^vector-math mode: 0x1a02$' env -u KORB_ARQ_MODE "$korb" info
check "vector-math mode from KORB_ARQ_MODE" 0 '^vector-math mode: 0x402$' \
    env KORB_ARQ_MODE=ARQ_HA,ARQ_ERRMODE_STDERR "$korb" info
check "help" 0 '^usage: korb' "$korb" --help
check "info help" 0 '^usage: korb info' "$korb" info --help
one_line_error "no command" "$korb"
one_line_error "unknown command" "$korb" frobnicate
one_line_error "extra argument" "$korb" info extra

# korb rng
check "rng default" 0 '^1$' "$korb" rng
check "rng seed 1" 0 '^1132489760$' "$korb" rng --seed 1 --n 2
check "rng count" 0 '^7$' sh -c "'$korb' rng --n 7 | wc -l"
check "rng doubles" 0 '^0\.[0-9]+' "$korb" rng --format double --n 3
check "rng bounds" 0 '^-0\.99999999' "$korb" rng --format double --a -1 --b 1 --n 1
check "rng skip" 0 '^826537482$' "$korb" rng --skip 2 --n 1
check "rng leapfrog" 0 '^289798557$' sh -c "'$korb' rng --leapfrog 1,2 --n 2 | tail -n 1"
check "rng by number" 0 '^1132489760$' sh -c "'$korb' rng --brng 0x100000 --n 2 | tail -n 1"
check "rng binary ints" 0 '^12$' sh -c "'$korb' rng --n 3 --binary | wc -c"
check "rng binary doubles" 0 '^24$' sh -c "'$korb' rng --n 3 --format double --binary | wc -c"
check "rng MRG32K3A" 0 '^0\.12701112207614923$' \
    "$korb" rng --brng MRG32K3A --seed 12345,12345,12345,12345,12345,12345 --format double --n 1
check "rng MRG32K3A no leapfrog" 1 'BIX_ERROR_LEAPFROG_UNSUPPORTED' \
    "$korb" rng --brng MRG32K3A --leapfrog 0,2
check "rng MCG59 words" 0 '^302875106592253$' sh -c "'$korb' rng --brng MCG59 --n 2 | tail -n 1"
check "rng MCG59 binary" 0 '^24$' sh -c "'$korb' rng --brng MCG59 --n 3 --binary | wc -c"
check "rng MT19937 key" 0 '^1067595299$' "$korb" rng --brng MT19937 --seed 291,564,837,1110 --n 1
check "rng MT19937 no leapfrog" 1 'BIX_ERROR_LEAPFROG_UNSUPPORTED' \
    "$korb" rng --brng MT19937 --leapfrog 0,2
check "rng MT2203 member" 0 '^3$' sh -c "'$korb' rng --brng MT2203:6023 --n 3 --format double | wc -l"
check "rng MT2203 no member" 1 'BIX_ERROR_INVALID_BRNG' "$korb" rng --brng MT2203:6024
check "rng R250" 0 '^985332332$' "$korb" rng --brng R250 --n 1
check "rng WH member" 0 '^4$' sh -c "'$korb' rng --brng WH:272 --n 1 | wc -l"
check "rng WH last member" 1 'BIX_ERROR_INVALID_BRNG' "$korb" rng --brng WH:273
check "rng abstract" 1 'BIX_ERROR_INVALID_BRNG' "$korb" rng --brng IABSTRACT
check "rng no member" 1 'BIX_ERROR_INVALID_BRNG' "$korb" rng --brng WH+273
check "rng sobol points" 0 '^0.75 0.25 0.25$' "$korb" rng --brng SOBOL:3 --n 2 --format double
check "rng sobol lines" 0 '^5$' sh -c "'$korb' rng --brng SOBOL:1000 --n 5 | wc -l"
check "rng niederr leapfrog" 0 '^1073741824$' sh -c "'$korb' rng --brng NIEDERR:2 --leapfrog 1,2 --n 3 | sed -n 2p"
check "rng sobol too wide" 1 'BIX_ERROR_BADARGS' "$korb" rng --brng SOBOL:2601
check "rng help" 0 '^usage: korb rng' "$korb" rng --help
sfmt="--brng SFMT19937 --seed 4660,22136,39612,57072"
check "rng SFMT19937 words" 0 '^2920711183$' sh -c "'$korb' rng $sfmt --n 1 | head -n 1"
check "rng SFMT19937 word count" 0 '^8$' sh -c "'$korb' rng $sfmt --n 2 | wc -l"
check "rng bits32" 0 '^3501893680$' sh -c "'$korb' rng $sfmt --dist bits32 --n 3 | tail -n 1"
check "rng bits64" 0 '^16689150863907128335$' "$korb" rng $sfmt --dist bits64 --n 1
check "rng bits64 binary" 0 '^24$' sh -c "'$korb' rng $sfmt --dist bits64 --n 3 --binary | wc -c"
check "rng bits32 binary" 0 '^20$' sh -c "'$korb' rng $sfmt --dist bits32 --n 5 --binary | wc -c"
check "rng bits MCG59" 0 '^302875106592253$' sh -c "'$korb' rng --brng MCG59 --dist bits --n 2 | tail -n 1"
check "rng bits32 MCG59" 0 '^2256595$' sh -c "'$korb' rng --brng MCG59 --dist bits32 --n 2 | tail -n 1"
check "rng bits32 MCG31M1" 1 'BIX_ERROR_BRNG_NOT_SUPPORTED' "$korb" rng --dist bits32
check "rng bits64 R250" 1 'BIX_ERROR_BRNG_NOT_SUPPORTED' "$korb" rng --brng R250 --dist bits64
check "info registry" 0 'MCG31M1 .* yes$' "$korb" info
check "info MT19937" 0 'MT19937 .* yes$' "$korb" info
for bad in "--brng foo" "--brng" "--n 0" "--n -3" "--n 1x" "--format hex" "--a 0.5" \
    "--format double --a 2 --b 1" "--format float --a 1 --b 1.00000001" "--seed -1" \
    "--seed 4294967296" "--seed 1,,2" "--leapfrog 1" "--leapfrog 1,0" "--skip -1" \
    "--format double --a nan --b 1" "--brng MCG31M1+x" "--frobnicate" "--brng SOBOL:0" \
    "--brng SOBOL:2 --seed 2" "--dist normal" "--dist bits --format double" \
    "--dist bits32 --a 0 --b 2" "--dist"; do
    # shellcheck disable=SC2086
    one_line_error "rng $bad" "$korb" rng $bad
done

# korb rng --dist and --stats
check "rng gaussian" 0 '^mean 2\.0[0-9]*$' "$korb" rng --dist gaussian --mean 2 --sigma 3 --n 100000 --stats
check "rng gaussian float icdf" 0 '^variance (0\.9|1\.0)' \
    "$korb" rng --dist gaussian --method icdf --format float --n 100000 --stats
check "rng uniform accurate" 0 '^max 0\.99' "$korb" rng --dist uniform --method accurate --n 1000 --stats
check "rng uniform bounds" 0 '^min -4\.99' "$korb" rng --dist uniform --a -5 --b 5 --n 1000 --stats
check "rng stats count" 0 '^count 7$' "$korb" rng --brng MCG59 --n 7 --stats
check "rng stats one number" 0 '^variance nan$' "$korb" rng --n 1 --stats
check "rng gaussian pairs" 0 '^5$' sh -c "'$korb' rng --dist gaussian --method boxmuller2 --n 5 | wc -l"
check "rng exponential" 0 '^min 1\.' "$korb" rng --dist exponential --a 1 --beta 2 --n 1000 --stats
check "rng weibull float" 0 '^count 10$' "$korb" rng --dist weibull --alpha 2 --format float --n 10 --stats
check "rng lognormal" 0 '^min 3\.' "$korb" rng --dist lognormal --sigma 0.5 --b 3 --n 1000 --stats
check "rng gumbel" 0 '^mean -0\.5[67]' "$korb" rng --dist gumbel --n 100000 --stats
check "rng uniform-int" 0 '^min -5$' "$korb" rng --dist uniform-int --a -5 --b 5 --n 1000 --stats
check "rng bernoulli" 0 '^mean 0\.(29|30)' "$korb" rng --dist bernoulli --p 0.3 --n 100000 --stats
check "rng geometric" 0 '^mean (3\.9|4\.0)' "$korb" rng --dist geometric --p 0.2 --n 100000 --stats
check "rng gamma" 0 '^mean (1\.99|2\.00)' "$korb" rng --dist gamma --alpha 2 --n 100000 --stats
check "rng gamma accurate" 0 '^min 3\.' "$korb" rng --dist gamma --alpha 0.5 --a 3 --method accurate --n 1000 --stats
check "rng beta float" 0 '^mean 0\.(39|40)' "$korb" rng --dist beta --format float --n 100000 --stats
check "rng beta bounds" 0 '^max (0\.9|1$)' "$korb" rng --dist beta --p 0.5 --q 0.5 --n 1000 --stats
mvdir=$(mktemp -d)
printf '4 2\n2 5\n' >"$mvdir/cov"
printf '2 0\n1 2\n' >"$mvdir/factor"
printf '2 1 2\n' >"$mvdir/packed"
printf '1 2\n3 1\n' >"$mvdir/asymmetric"
check "rng gaussian-mv lines" 0 '^7$' sh -c "'$korb' rng --dist gaussian-mv --dimen 3 --n 7 | wc -l"
check "rng gaussian-mv vector" 0 '^[-0-9.e]+ [-0-9.e]+ [-0-9.e]+$' "$korb" rng --dist gaussian-mv --dimen 3 --mean 1,2,3 --n 1
# The covariance [[4, 2], [2, 5]] is factored into [[2, 0], [1, 2]]: the same vectors either way,
# full or packed.
cov_out=$("$korb" rng --dist gaussian-mv --dimen 2 --mean 1,-1 --cov "$mvdir/cov" --n 5)
check "rng gaussian-mv cov = factor" 0 "^$(echo "$cov_out" | head -n 1)\$" "$korb" rng --dist gaussian-mv --dimen 2 --mean 1,-1 --factor "$mvdir/factor" --n 1
check "rng gaussian-mv packed" 0 "^$(echo "$cov_out" | head -n 1)\$" "$korb" rng --dist gaussian-mv --dimen 2 --mean 1,-1 --mstorage 1 --factor "$mvdir/packed" --n 1
for bad in "--dimen 0" "--dimen 1.5" "--mstorage 3" "--mstorage -1" "--dimen 2 --mean 1,2,3" \
    "--dimen 2 --factor $mvdir/packed" "--dimen 2 --cov $mvdir/asymmetric" "--dimen 2 --cov $mvdir/none" \
    "--dimen 2 --cov $mvdir/cov --factor $mvdir/factor" "--dimen 2 --mean 1,x" "--dimen 2 --mean nan"; do
    # shellcheck disable=SC2086
    one_line_error "rng gaussian-mv $bad" "$korb" rng --dist gaussian-mv $bad
done
rm -rf "$mvdir"
# The counting distributions: parameters, a mean per variate repeated over the variates.
check "rng poisson-v cycles its means" 0 '^0 [0-9]+ 0 [0-9]+$' sh -c \
    "'$korb' rng --dist poisson-v --lambda 1e-300,1000 --n 4 | tr '\\n' ' ' | sed 's/ \$//'"
check "rng binomial constant" 0 '^7$' sh -c "'$korb' rng --dist binomial --ntrial 7 --p 1 --n 3 | sort -u"
check "rng hypergeometric sample of all" 0 '^4$' sh -c \
    "'$korb' rng --dist hypergeometric --l 9 --s 9 --m 4 --n 3 | sort -u"
for bad in "--dist binomial --p 1.5" "--dist binomial --ntrial -1" "--dist poisson --lambda 0" \
    "--dist poisson --lambda 3e9" "--dist poisson-v --lambda 1,0" "--dist poisson-v --lambda x" \
    "--dist hypergeometric --l 10 --s 11" "--dist hypergeometric --l 10 --m -1" \
    "--dist negbinomial --p 0" "--dist negbinomial --a 0" "--dist poisson --method btpe"; do
    # shellcheck disable=SC2086
    one_line_error "rng $bad" "$korb" rng $bad
done
for bad in "--dist gamma --alpha 0" "--dist gamma --beta -1" "--dist beta --q 0" \
    "--dist gamma --cov x" "--dist beta --p nan"; do
    # shellcheck disable=SC2086
    one_line_error "rng $bad" "$korb" rng $bad
done
for bad in "--dist nosuch" "--dist gaussian --sigma 0" "--dist gaussian --sigma -1" \
    "--dist gaussian --beta 1" "--dist gaussian --a 1" "--dist gaussian --method foo" \
    "--dist gaussian --format int" "--dist uniform --a 2 --b 1" "--sigma 2" "--method icdf" \
    "--stats --binary" "--dist gaussian --brng SOBOL:2" "--dist weibull --alpha 0" \
    "--dist lognormal --mean 1" "--dist cauchy --beta -1" "--dist laplace --method std" \
    "--dist uniform-int --a 0.5" "--dist uniform-int --b 3e9" "--dist bernoulli --p 1.5" \
    "--dist geometric --p 0" "--dist bernoulli --format double" "--dist uniform --format float --a 1 --b 1.00000001"; do
    # shellcheck disable=SC2086
    one_line_error "rng $bad" "$korb" rng $bad
done

# korb rng --save / --load: checkpoints continue the stream, splits included
ckpt=$(mktemp -d)
checkpoints() {  # checkpoints <split options> <format>: 3 + 4 + 3 numbers equal 10 at once
    # shellcheck disable=SC2086
    whole=$("$korb" rng $1 --format "$2" --n 10)
    # shellcheck disable=SC2086
    parts=$("$korb" rng $1 --format "$2" --n 3 --save "$ckpt/s" &&
        "$korb" rng --load "$ckpt/s" --format "$2" --n 4 --save "$ckpt/s" &&
        "$korb" rng --load "$ckpt/s" --format "$2" --n 3)
    if [ -n "$whole" ] && [ "$whole" = "$parts" ]; then
        passes=$((passes + 1))
    else
        echo "FAIL: rng $1 --format $2: 3 + 4 + 3 numbers through checkpoints differ from 10"
        fails=$((fails + 1))
    fi
}
checkpoints "--seed 9" int
checkpoints "--seed 9" double
checkpoints "--leapfrog 1,3" int
checkpoints "--skip 5" float
# the words a 32-bit call keeps of a 128-bit word travel with the saved stream
whole=$("$korb" rng --brng SFMT19937 --dist bits32 --n 10)
parts=$("$korb" rng --brng SFMT19937 --dist bits32 --n 3 --save "$ckpt/b" &&
    "$korb" rng --load "$ckpt/b" --dist bits32 --n 7)
check "rng bits32 through a checkpoint" 0 '^same$' sh -c "[ '$whole' = '$parts' ] && echo same"
"$korb" rng --n 1 --save "$ckpt/fresh" >/dev/null
check "rng saved image size" 0 '^28$' sh -c "wc -c <'$ckpt/fresh'"
printf 'not a stream image, just text\n' >"$ckpt/text"
check "rng load missing" 1 'BIX_ERROR_FILE_OPEN' "$korb" rng --load "$ckpt/missing"
check "rng load text" 1 'BIX_ERROR_BAD_FILE_FORMAT' "$korb" rng --load "$ckpt/text"
head -c 24 "$ckpt/fresh" >"$ckpt/cut"
check "rng load short" 1 'BIX_ERROR_FILE_READ' "$korb" rng --load "$ckpt/cut"
check "rng save nowhere" 1 'BIX_ERROR_FILE_OPEN' "$korb" rng --save "$ckpt/no/such/dir"
for bad in "--load $ckpt/fresh --seed 3" "--load $ckpt/fresh --brng MCG31M1" "--load" "--save"; do
    # shellcheck disable=SC2086
    one_line_error "rng $bad" "$korb" rng $bad
done
one_line_error "rng --save ''" "$korb" rng --save ''
rm -rf "$ckpt"

# korb stats minmax
data=$(mktemp)
bad=$(mktemp)
trap 'rm -f "$data" "$bad" "$bad.bin"' EXIT
printf '1 2 3\n-4 nan 6\n\n7 0 inf\n' >"$data"
check "minmax cols" 0 '^1 0 2$' "$korb" stats minmax "$data"
check "minmax nan ignored" 0 '^1 0 2$' "$korb" stats minmax "$data" --layout cols
check "minmax rows" 0 '^1 -4 6$' "$korb" stats minmax "$data" --layout rows
check "minmax flat" 0 '^0 -4 inf$' "$korb" stats minmax --p 1 "$data"
check "minmax stdin" 0 '^0 5 5$' sh -c "echo 5 | '$korb' stats minmax -"
z6='\000\000\000\000\000\000'
printf "${z6}\\360\\077${z6}\\000\\300${z6}\\010\\100${z6}\\020\\100" >"$bad"  # 1, -2, 3, 4
check "minmax binary" 0 '^1 -2 4$' "$korb" stats minmax --binary --p 2 "$bad"
cp "$bad" "$bad.bin"
check "minmax help" 0 '^usage: korb stats minmax' "$korb" stats minmax --help
printf '1 2\n3 x\n' >"$bad"
check "minmax bad number" 2 "^korb: stats: .*:2: not a number 'x'$" "$korb" stats minmax "$bad"
printf '1 2\n\n3\n' >"$bad"
check "minmax ragged" 2 ':3: expected 2 numbers, got 1$' "$korb" stats minmax "$bad"
# korb stats basic
printf '1 2 3\n-4 5 6\n2 0 9\n7 1 1\n' >"$data"
check "basic count" 0 '^count 4$' "$korb" stats basic "$data"
check "basic mean" 0 '^mean 1\.5 2 4\.75$' "$korb" stats basic "$data"
check "basic variance" 0 '^central2 20\.33333333333333[0-9]* 4\.66666666666666[0-9]* 12\.25$' \
    "$korb" stats basic "$data" --method onepass
check "basic extremes" 0 '^max 7 5 9$' "$korb" stats basic "$data"
check "basic correlation" 0 '^ 1 -0\.787043797453' "$korb" stats basic "$data"
check "basic rows" 0 '^mean 2 2\.33333333333333[0-9]* 3\.66666666666666[0-9]* 3$' "$korb" stats basic --layout rows "$data"
check "basic help" 0 'basic prints every basic estimate' "$korb" stats basic --help
for args in "basic" "basic $data --method fast" "basic $data --method" "basic $bad"; do
    # shellcheck disable=SC2086
    one_line_error "stats $args" "$korb" stats $args
done
# korb stats quantiles (whole input, and in portions with --stream)
check "quantiles" 0 '^0 -4 1\.5 7$' "$korb" stats --quantiles 0,0.5,1 "$data"
check "quantiles action" 0 '^2 1 3\.375 9$' "$korb" stats quantiles "$data" --quantiles 0,0.375,1
check "quantiles rows" 0 '^0 1 2 3$' "$korb" stats quantiles --layout rows --quantiles 0,.5,1 "$data"
check "quantiles stdin" 0 '^0 2\.5$' sh -c "printf '4\n1\n3\n2\n' | '$korb' stats --quantiles 0.5"
check "quantiles nan" 0 '^0 nan$' sh -c "printf '4\nnan\n' | '$korb' stats --quantiles 0.5"
check "stream small" 0 '^0 -4 7$' "$korb" stats --quantiles 0,1 --stream 0.01 "$data"
check "stream gk" 0 '^1 0 5$' "$korb" stats --quantiles 0,1 --stream 0.5 --method gk "$data"
# Three million numbers through a pipe: three portions, and the median within 0.001 N ranks.
check "stream pipe" 0 '^0 1(49[7-9]|50[0-3])[0-9]{3}$' \
    sh -c "seq 1 3000000 | '$korb' stats --quantiles 0.5 --stream 0.001"
check "stream binary" 0 '^0 -2 4$' "$korb" stats --quantiles 0,1 --stream 0.1 --binary "$bad.bin"
check "stream ragged" 2 'do not divide into 2 variables$' \
    sh -c "printf '1 2 3' | '$korb' stats --quantiles 0.5 --stream 0.1 --p 2"
check "quantiles help" 0 '^quantiles prints one line per variable' "$korb" stats quantiles --help
for args in "--quantiles" "--quantiles 2 $data" "--quantiles 0.5,x $data" "quantiles $data" \
    "--quantiles 0.5 --stream 0 $data" "--quantiles 0.5 --stream 1.5 $data" \
    "--quantiles 0.5 --method gk $data" "--quantiles 0.5 --stream 0.1 --method xy $data" \
    "--quantiles 0.5 --stream 0.1 --layout rows $data" "--quantiles 0.5 $data $data" \
    "--quantiles 0.5 /nonexistent/file" "--quantiles 0.5 --stream 0.1 $bad"; do
    # shellcheck disable=SC2086
    one_line_error "stats $args" "$korb" stats $args
done
for args in "" "minmax" "frobnicate" "minmax $data --layout diagonal" "minmax $data --p 0" \
    "minmax $data $data" "minmax $data --frobnicate" "minmax /nonexistent/file" "minmax $bad"; do
    # shellcheck disable=SC2086
    one_line_error "stats $args" "$korb" stats $args
done

# korb fit
points=$(mktemp)
trap 'rm -f "$data" "$bad" "$points"' EXIT
printf '0 1 5\n1 3 6\n2 2 7\n4 4 1\n5 0 0\n' >"$points"
check "fit linear" 0 '^0 1 1 3 -1$' "$korb" fit "$points" --spline linear
check "fit linear second function" 0 '^1 3 4 1 -1$' "$korb" fit "$points" --spline linear
check "fit cells" 0 '^8$' sh -c "'$korb' fit '$points' | wc -l"
check "fit natural clamped" 0 '^0 0 0 1 0\.25 ' "$korb" fit "$points" --left first=0.25 --right first=0
check "fit quadratic left second" 0 '^0 0 0 1 1 1$' \
    sh -c "printf '0 1\n1 3\n2 1\n' | '$korb' fit - --spline quadratic --left second=2"
check "fit subbotin knots" 0 '^0 1 0\.5 ' "$korb" fit "$points" --spline subbotin
check "fit hermite" 0 '^0 0 0 1 7 ' sh -c "printf '0 1 7\n1 2 0\n' | '$korb' fit - --spline hermite"
check "fit unsorted" 1 'DF_ERROR_BAD_PARTITION \(-1023\)$' \
    sh -c "printf '0 1\n2 3\n1 4\n' | '$korb' fit - --spline akima"
check "fit periodic values" 1 'DF_ERROR_BAD_PERIODIC_VAL' "$korb" fit "$points" --bc periodic
check "fit help" 0 '^usage: korb fit' "$korb" fit --help
check "fit at" 0 '^0\.5 1 2 5\.5$' "$korb" fit "$points" --spline linear --at 0.5,4.5,7
check "fit at extends the end cells" 0 '^7 5 -8 -2$' "$korb" fit "$points" --spline linear --at 0.5,7
check "fit at even sites" 0 '^6$' sh -c "'$korb' fit '$points' --at 0:5:6 | wc -l"
check "fit at even sites last" 0 '^5 5 0 ' "$korb" fit "$points" --at 0:5:6
check "fit derivative" 0 '^0\.5 1 2 1$' "$korb" fit "$points" --spline linear --at 0.5 --derivative 1
check "fit derivatives" 0 '^1 2 3 -1 6 1$' \
    "$korb" fit "$points" --spline linear --at 1 --derivative 1,0
check "fit nan site" 0 '^nan 0 nan nan$' "$korb" fit "$points" --spline linear --at nan
check "fit derivative beyond the order" 1 'DF_ERROR_BAD_NDORDER \(-1031\)$' \
    "$korb" fit "$points" --spline linear --at 1 --derivative 2
check "fit integrate" 0 '^0 5 12\.5 20\.5$' "$korb" fit "$points" --spline linear --integrate 0,5
check "fit integrate reversed" 0 '^5 0 -12\.5 -20\.5$' \
    "$korb" fit "$points" --spline linear --integrate 0,5 --integrate 5,0
for args in "$points --derivative 1" "$points --at 1:2" "$points --at x" "$points --at 1," \
    "$points --at 0:1:0" "$points --integrate 1" "$points --integrate 1,2,3" \
    "$points --at 1 --integrate 0,1" "$points --at 1 --derivative -1" \
    "$points --at 1 --derivative 1.5" "$points --at"; do
    # shellcheck disable=SC2086
    one_line_error "fit $args" "$korb" fit $args
done
for args in "" "$points --spline spiral" "$points --bc clamped" "$points --left first=1" \
    "$points --left third=1 --right first=1" "$points --left first=x --right first=1" \
    "$points --bc free --left first=1 --right first=1" "$points $points" "$points --frobnicate" \
    "/nonexistent/file" "$bad" "$points --spline"; do
    # shellcheck disable=SC2086
    one_line_error "fit $args" "$korb" fit $args
done

echo "$passes passed, $fails failed"
[ "$fails" -eq 0 ]
